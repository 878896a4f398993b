#pragma once

#include "config/Hotkey.h"
#include "platform/KeyMonitor.h"

#include <functional>
#include <optional>

namespace qm {

// What the settings window has to know of the application's key listener, handed in by the application. Main thread.
struct KeyListener {
    std::function<std::optional<KeyMonitor::Started>()> started; // nothing: this system has none
    std::function<QString(int keyCode)> keyName;                 // as this keyboard calls it; may be empty
    // While a test lasts, gestures with the given key go to recognized and nothing is captured. A second begin replaces
    // the first.
    std::function<void(const Hotkey &hotkey, std::function<void(HotkeyGesture)> recognized)> beginTest;
    std::function<void()> endTest;
};

} // namespace qm
