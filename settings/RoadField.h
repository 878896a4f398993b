#pragma once

#include "ui/LatestJob.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace qm {

// Says where pictures of the screen come from. If the user has once forbidden the desktop to give any, a button makes it ask
// again. Main thread; what is shown is found out on another.
class RoadField : public QWidget
{
public:
    RoadField();
    void refresh();

private:
    QLabel *m_name;
    QPushButton *m_askAgain;
    LatestJob m_question;
};

} // namespace qm
