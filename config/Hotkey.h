#pragma once

#include <QString>

#include <array>
#include <optional>

namespace qm {

// The right-hand modifier key that triggers captures, in the order the settings offer them.
enum class HotkeyModifier { rightShift, rightCommand, rightOption, rightControl };

inline constexpr std::array allHotkeyModifiers{HotkeyModifier::rightShift, HotkeyModifier::rightCommand,
                                               HotkeyModifier::rightOption, HotkeyModifier::rightControl};

QString rawValue(HotkeyModifier modifier); // as the settings file spells it: "rightShift"
std::optional<HotkeyModifier> hotkeyModifierFrom(const QString &rawValue);

// What the key listener compares: the virtual key code tells the right key from the left one; the mask is the
// device-independent flag set while the key is down. Both use macOS's numbers on every system.
int keyCode(HotkeyModifier modifier);
quint32 flagMask(HotkeyModifier modifier);

// What the user did with the key.
enum class HotkeyGesture {
    tap,  // released before the threshold, nothing else pressed meanwhile
    hold, // still down at the threshold; the following release is ignored
};

struct Hotkey {
    static constexpr double minHoldThreshold = 0.2;
    static constexpr double maxHoldThreshold = 0.8;
    static constexpr double defaultHoldThreshold = 0.4;

    HotkeyModifier modifier = HotkeyModifier::rightShift;
    double holdThreshold = defaultHoldThreshold; // seconds

    bool operator==(const Hotkey &) const = default;
};

} // namespace qm
