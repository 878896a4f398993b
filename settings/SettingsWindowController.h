#pragma once

#include <functional>
#include <memory>

class QWidget;

namespace qm {

// The settings window. Main thread; the window is made at the first show and kept.
class SettingsWindowController
{
public:
    // changed is called after settings were saved.
    explicit SettingsWindowController(std::function<void()> changed);
    ~SettingsWindowController();

    void show(); // in front of the others

private:
    std::function<void()> m_changed;
    std::unique_ptr<QWidget> m_window;
};

} // namespace qm
