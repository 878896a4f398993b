#pragma once

#include "library/ShotActions.h"
#include "platform/TaskQueue.h"

#include <QWidget>

#include <map>

class QPushButton;

namespace qm {

// Buttons for the four actions on a shot; symbols only if the row is too narrow for text. Main thread.
class ActionRow : public QWidget
{
    Q_OBJECT

public:
    explicit ActionRow(QWidget *parent = nullptr);

    QPushButton *button(ShotAction action) const { return m_buttons.at(action); }
    void confirmCopy(); // briefly shows a tick on the button

    std::function<void(ShotAction action)> onAction;

    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void refresh();

    std::map<ShotAction, QPushButton *> m_buttons;
    int m_fullWidth = 0;
    bool m_compact = false;
    Timer m_confirmation;
};

} // namespace qm
