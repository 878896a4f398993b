#pragma once

#include "settings/KeyListener.h"

#include <functional>
#include <memory>

namespace qm {

class SettingsWindow;

// The settings window. Main thread; the window is created on the first show and kept.
class SettingsWindowController
{
public:
    // changed is called after settings have been saved.
    SettingsWindowController(std::function<void()> changed, KeyListener listener);
    ~SettingsWindowController();

    void show(); // in front of the others

private:
    std::function<void()> m_changed;
    KeyListener m_listener;
    std::unique_ptr<SettingsWindow> m_window;
};

} // namespace qm
