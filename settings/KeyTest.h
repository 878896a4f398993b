#pragma once

#include "platform/TaskQueue.h"
#include "settings/KeyListener.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace qm {

class KeyAdvice;
class Lamp;

// Shows whether the trigger key is heard, and lets the user try it: while "Test the key" is down, gestures light a lamp
// and nothing is captured. The test ends with the toggle, when the widget is hidden, and by itself 30 seconds after the
// last gesture: a forgotten test would disable the key. Main thread.
class KeyTest : public QWidget
{
public:
    KeyTest(TaskQueue &main, KeyListener listener);
    ~KeyTest() override;

    void setHotkey(const Hotkey &hotkey); // the key to test, saved or not

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    void begin();
    void end();
    void recognized(HotkeyGesture gesture);
    void refresh();
    void poll();
    QString stateOf(KeyRoad road) const;

    TaskQueue &m_main;
    KeyListener m_listener;
    Hotkey m_hotkey;
    bool m_testing = false;
    QLabel *m_stateIcon;
    QLabel *m_state;
    QPushButton *m_toggle;
    Lamp *m_tap;
    Lamp *m_hold;
    KeyAdvice *m_advice;
    Timer m_poll; // the listener may start late
    Timer m_lit;
    Timer m_forgotten;
};

} // namespace qm
