#pragma once

#include "annotate/editor/AnnotationWindowController.h"
#include "app/Command.h"
#include "app/StatusMenu.h"
#include "capture/CaptureRunner.h"
#include "capture/HotkeyTrigger.h"
#include "library/LibraryWindowController.h"
#include "platform/KeyMonitor.h"
#include "platform/TrayHost.h"
#include "settings/SettingsWindowController.h"

#include <QSystemTrayIcon>

#include <memory>

namespace qm {

// Start-up, and owner of everything that lives as long as the application. Main thread.
class AppDelegate
{
public:
    AppDelegate();
    ~AppDelegate();

    void applicationDidFinishLaunching(); // once; never stops on an error
    void perform(const Command &command);

    // At quit: false when something is still busy after the limit. The process may end all the same, nothing stored is lost.
    bool stop(std::chrono::milliseconds limit);

private:
    void createStatusItem();
    void registerLoginItemOnce();
    void startEventTap();
    KeyListener keyListener(); // what the settings window sees of it

    void captureRangeAction();
    void captureWindowAction();
    void scrollCaptureAction();
    void openStore();
    void openLibrary();
    void openSettings();
    void quit();

    std::unique_ptr<StatusMenu> m_menu;
    std::unique_ptr<TrayHost> m_trayHost;
    std::unique_ptr<QSystemTrayIcon> m_statusItem; // none before there is a tray
    CaptureRunner m_captureRunner;
    std::function<void(HotkeyGesture)> m_keyTest; // while there is one, gestures go to it
    HotkeyTrigger m_trigger;
    std::unique_ptr<KeyMonitor> m_eventTap;
    std::optional<KeyMonitor::Started> m_eventTapStarted; // nothing: this system has none
    Timer m_eventTapRetry;
    std::unique_ptr<SettingsWindowController> m_settingsController; // made at its first use
    AnnotationWindowController m_annotationController;
    LibraryWindowController m_libraryController;
};

} // namespace qm
