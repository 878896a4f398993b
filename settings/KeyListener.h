#pragma once

#include "config/Hotkey.h"
#include "platform/KeyMonitor.h"

#include <functional>
#include <optional>

namespace qm {

// The settings window's access to the application's key listener, passed in by the application. Main thread.
struct KeyListener {
    std::function<std::optional<KeyMonitor::Started>()> started; // std::nullopt if this system has none
    std::function<KeyRoad()> road;                               // by what the key is heard
    std::function<QString(int keyCode)> keyName;                 // label on this keyboard; may be empty
    // During a test, gestures with the given key go to recognized and nothing is captured. A second begin replaces the
    // first.
    std::function<void(const Hotkey &hotkey, std::function<void(HotkeyGesture)> recognized)> beginTest;
    std::function<void()> endTest;
};

} // namespace qm
