#include "capture/HotkeyTrigger.h"

#include <cmath>

namespace qm {

HotkeyTrigger::HotkeyTrigger(TaskQueue &queue, const Hotkey &hotkey, Recognized recognized,
                             std::function<bool()> isOurs)
    : m_queue(queue)
    , m_hotkey(hotkey)
    , m_recognized(std::move(recognized))
    , m_isOurs(std::move(isOurs))
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
            triggerPressed(event.othersDown || (m_isOurs && m_isOurs()));
        else
            triggerReleased();
    } else if (event.type == KeyEvent::Type::usedAlone) {
        if (isTrigger && !(m_isOurs && m_isOurs()))
            m_recognized(event.held < threshold() ? HotkeyGesture::tap : HotkeyGesture::hold);
    } else if (event.type != KeyEvent::Type::disabled) {
        anotherKey();
    }
}

// A chord from its first moment: Ctrl and right Shift switch the keyboard layout on many desktops, and Shift is held
// while the mouse draws.
void HotkeyTrigger::triggerPressed(bool isChord)
{
    m_triggerDown = true;
    m_usedAsModifier = isChord;
    m_holdFired = false;
    m_holdTimer.cancel();
    if (isChord)
        return;
    m_holdTimer = m_queue.postAfter(threshold(), [this] { thresholdElapsed(); });
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

std::chrono::milliseconds HotkeyTrigger::threshold() const
{
    return std::chrono::milliseconds(std::lround(m_hotkey.holdThreshold * 1000));
}

void HotkeyTrigger::thresholdElapsed()
{
    if (!m_triggerDown || m_usedAsModifier)
        return;
    m_holdFired = true;
    m_recognized(HotkeyGesture::hold);
}

} // namespace qm
