#pragma once

#include <QString>

#include <array>
#include <optional>

namespace qm {

// The right-hand modifier key that triggers captures, in the order in which the settings offer them.
enum class HotkeyModifier { rightShift, rightCommand, rightOption, rightControl };

inline constexpr std::array allHotkeyModifiers{HotkeyModifier::rightShift, HotkeyModifier::rightCommand,
                                               HotkeyModifier::rightOption, HotkeyModifier::rightControl};

QString rawValue(HotkeyModifier modifier); // as the settings file spells it: "rightShift"
std::optional<HotkeyModifier> hotkeyModifierFrom(const QString &rawValue);

// What the key listener compares: the virtual key code tells the right key from the left one, the mask is the
// device-independent flag that is set while the key is down (both as macOS numbers them, on every system).
int keyCode(HotkeyModifier modifier);
quint32 flagMask(HotkeyModifier modifier);

// What is done with the key.
enum class HotkeyGesture {
    tap,  // released before the threshold, nothing else pressed meanwhile
    hold, // still down at the threshold; the release that follows means nothing
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
