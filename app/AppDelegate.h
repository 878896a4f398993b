#pragma once

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace qm {

// Start-up, and owner of everything that lives as long as the application. Main thread.
class AppDelegate
{
public:
    AppDelegate();
    ~AppDelegate();

    void applicationDidFinishLaunching(); // once, when the event loop is about to run

private:
    void createStatusItem();

    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_statusItem;
};

} // namespace qm
