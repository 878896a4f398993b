#pragma once

#include "config/Hotkey.h"
#include "platform/KeyMonitor.h"
#include "platform/TaskQueue.h"

#include <functional>

namespace qm {

// Tells a tap of the trigger key from a hold and from its use as a modifier. A state machine over plain numbers: no
// window, no system events, no clock of its own. Runs on the queue it is given, which in the application is the main
// one.
class HotkeyTrigger
{
public:
    using Recognized = std::function<void(HotkeyGesture)>;

    // A press while isOurs() says so belongs to whoever that is, and so does its release, however much later it comes.
    HotkeyTrigger(TaskQueue &queue, const Hotkey &hotkey, Recognized recognized, std::function<bool()> isOurs = {});

    void setHotkey(const Hotkey &hotkey); // the key applies from the next event on, the threshold from the next press
    void handle(const KeyEvent &event);   // do not pass events of type disabled

private:
    void triggerPressed(bool isChord);
    void triggerReleased();
    void anotherKey();
    void thresholdElapsed();
    std::chrono::milliseconds threshold() const;

    TaskQueue &m_queue;
    Hotkey m_hotkey;
    Recognized m_recognized;
    std::function<bool()> m_isOurs;

    bool m_triggerDown = false;
    bool m_usedAsModifier = false; // survives the release; the next press clears it
    bool m_holdFired = false;
    Timer m_holdTimer;
};

} // namespace qm
