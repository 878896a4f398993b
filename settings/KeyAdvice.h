#pragma once

#include "platform/KeyMonitor.h"
#include "ui/LatestJob.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace qm {

class CommandBox;

// What would give more than the road by which the trigger key is heard: shortcuts of the desktop's own if it is not heard at
// all, which on GNOME a button sets and takes back, and the right to read keyboards for the program of ours that does. Empty
// where nothing would. Main thread.
class KeyAdvice : public QWidget
{
public:
    KeyAdvice();

    void setRoad(KeyRoad road, bool isMonitored); // isMonitored: otherwise nothing would start our program

private:
    void lookForShortcuts();
    void toggleShortcuts();
    void refresh();

    KeyRoad m_road = KeyRoad::displayServer;
    bool m_isMonitored = false;
    std::optional<bool> m_areSet; // the desktop's shortcuts, if a program can set them
    QString m_failure;
    CommandBox *m_shortcuts;
    QPushButton *m_set;
    QLabel *m_message;
    CommandBox *m_right;
    LatestJob m_look, m_change;
};

} // namespace qm
