#pragma once

#include "platform/KeyMonitor.h"

#include <array>

namespace qm {

// The modifier keys, by the names that others have for their positions, with the product's virtual key codes and flags.
struct ModifierKey {
    const char *name;    // that of qmkeys
    const char *xkbName; // identifies the position, independent of the layout
    int xKeyCode;        // of keyboards that evdev drives, and on Wayland of all
    int keyCode;
    quint32 flag;
};
inline constexpr std::array modifierKeys{
    ModifierKey{"leftShift", "LFSH", 50, 56, 0x20000},     ModifierKey{"rightShift", "RTSH", 62, 60, 0x20000},
    ModifierKey{"leftControl", "LCTL", 37, 59, 0x40000},   ModifierKey{"rightControl", "RCTL", 105, 62, 0x40000},
    ModifierKey{"leftOption", "LALT", 64, 58, 0x80000},    ModifierKey{"rightOption", "RALT", 108, 61, 0x80000},
    ModifierKey{"leftCommand", "LWIN", 133, 55, 0x100000}, ModifierKey{"rightCommand", "RWIN", 134, 54, 0x100000},
};
inline constexpr int noModifier = -1; // key code for every other key

} // namespace qm
