#include "helpers/qmkeys/KeyLines.h"

#include <algorithm>
#include <linux/input-event-codes.h>

namespace qm {

namespace {

struct Modifier {
    uint16_t code;
    const char *name;
};
constexpr Modifier modifierKeys[] = {
    {KEY_LEFTSHIFT, "leftShift"},    {KEY_RIGHTSHIFT, "rightShift"},  {KEY_LEFTCTRL, "leftControl"},
    {KEY_RIGHTCTRL, "rightControl"}, {KEY_LEFTALT, "leftOption"},     {KEY_RIGHTALT, "rightOption"},
    {KEY_LEFTMETA, "leftCommand"},   {KEY_RIGHTMETA, "rightCommand"},
};

bool isButton(uint16_t code)
{
    return code >= BTN_MOUSE && code < BTN_JOYSTICK;
}

// A touchpad says with which tool it is touched even while a finger only rests there. The touch itself counts, as it may be
// a click, but not as a button that is held.
bool meansNothing(uint16_t code)
{
    return code >= BTN_DIGI && code < BTN_WHEEL && code != BTN_TOUCH && code != BTN_STYLUS && code != BTN_STYLUS2;
}

} // namespace

std::string KeyLines::changed(Device device, uint16_t code, bool isDown)
{
    const Modifiers before = down();
    State &state = m_devices[device];
    const auto modifier = std::find_if(std::begin(modifierKeys), std::end(modifierKeys),
                                       [&](const Modifier &candidate) { return candidate.code == code; });
    if (modifier != std::end(modifierKeys)) {
        state.modifiers[size_t(modifier - modifierKeys)] = isDown;
        return differences(before);
    }
    if (isButton(code) && isDown)
        state.buttons.insert(code);
    else if (isButton(code))
        state.buttons.erase(code);
    return isDown && !meansNothing(code) ? somethingElse() : std::string();
}

std::string KeyLines::alreadyDown(Device device, const std::set<uint16_t> &codes)
{
    std::string lines;
    for (const uint16_t code : codes)
        lines += changed(device, code, true);
    return codes.empty() ? lines : lines + somethingElse();
}

std::string KeyLines::removed(Device device)
{
    const Modifiers before = down();
    const std::string unknown = m_devices[device].modifiers.any() ? somethingElse() : std::string();
    m_devices.erase(device);
    return unknown + differences(before);
}

std::string KeyLines::differences(const Modifiers &before)
{
    std::string lines;
    const Modifiers now = down();
    for (size_t i = 0; i < modifierCount; ++i) {
        if (now[i] != before[i])
            lines += std::string(now[i] ? "down " : "up ") + modifierKeys[i].name + '\n';
    }
    if ((now & ~before).any()) {
        m_isElseTold = false;
        if (isButtonHeld())
            lines += somethingElse();
    }
    return lines;
}

std::string KeyLines::somethingElse()
{
    if (m_isElseTold || down().none())
        return {};
    m_isElseTold = true;
    return "key\n";
}

KeyLines::Modifiers KeyLines::down() const
{
    Modifiers all;
    for (const auto &[device, state] : m_devices)
        all |= state.modifiers;
    return all;
}

bool KeyLines::isButtonHeld() const
{
    return std::any_of(m_devices.begin(), m_devices.end(),
                       [](const auto &device) { return !device.second.buttons.empty(); });
}

} // namespace qm
