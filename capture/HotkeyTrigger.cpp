#include "capture/HotkeyTrigger.h"

#include <cmath>

namespace qm {

HotkeyTrigger::HotkeyTrigger(TaskQueue &queue, const Hotkey &hotkey, Recognized recognized)
    : m_queue(queue)
    , m_hotkey(hotkey)
    , m_recognized(std::move(recognized))
{
}

void HotkeyTrigger::setHotkey(const Hotkey &hotkey)
{
    m_hotkey = hotkey;
}

void HotkeyTrigger::handle(const KeyEvent &event)
{
    Q_ASSERT(m_queue.isCurrent());
    const bool isTrigger = event.keyCode == keyCode(m_hotkey.modifier);
    if (event.type == KeyEvent::Type::flagsChanged && isTrigger) {
        // The mask covers both keys: while the left one is held, releasing the right one looks like another press.
        if (event.flags & flagMask(m_hotkey.modifier))
            triggerPressed();
        else
            triggerReleased();
    } else if (event.type != KeyEvent::Type::disabled) {
        anotherKey();
    }
}

void HotkeyTrigger::triggerPressed()
{
    m_triggerDown = true;
    m_usedAsModifier = false;
    m_holdFired = false;
    const auto threshold = std::chrono::milliseconds(std::lround(m_hotkey.holdThreshold * 1000));
    m_holdTimer = m_queue.postAfter(threshold, [this] { thresholdElapsed(); });
}

void HotkeyTrigger::triggerReleased()
{
    m_holdTimer.cancel();
    const bool tapped = m_triggerDown && !m_usedAsModifier && !m_holdFired;
    m_triggerDown = false;
    m_holdFired = false;
    if (tapped)
        m_recognized(HotkeyGesture::tap);
}

void HotkeyTrigger::anotherKey()
{
    if (!m_triggerDown)
        return;
    m_usedAsModifier = true;
    m_holdTimer.cancel();
}

void HotkeyTrigger::thresholdElapsed()
{
    if (!m_triggerDown || m_usedAsModifier)
        return;
    m_holdFired = true;
    m_recognized(HotkeyGesture::hold);
}

} // namespace qm
