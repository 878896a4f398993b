#pragma once

#include "platform/TaskQueue.h"
#include "settings/KeyListener.h"

#include <functional>
#include <memory>

namespace qm {

class SettingsWindow;

// The settings window. Main thread; the window is created on the first show and kept.
class SettingsWindowController
{
public:
    // main is where the window's times run; changed is called after settings have been saved.
    SettingsWindowController(TaskQueue &main, std::function<void()> changed, KeyListener listener);
    ~SettingsWindowController();

    void show(); // in front of the others
    // At quit; false if a folder that was entered still does not answer after the limit.
    bool stop(std::chrono::milliseconds limit);

private:
    TaskQueue &m_main;
    std::function<void()> m_changed;
    KeyListener m_listener;
    std::unique_ptr<SettingsWindow> m_window;
};

} // namespace qm
