#pragma once

#include "annotate/editor/AnnotationWindowController.h"
#include "app/Captures.h"
#include "app/Command.h"
#include "app/StatusMenu.h"
#include "capture/HotkeyTrigger.h"
#include "library/LibraryWindowController.h"
#include "platform/KeyMonitor.h"
#include "platform/TrayHost.h"
#include "settings/SettingsWindowController.h"

#include <QSystemTrayIcon>

#include <memory>

namespace qm {

// Starts the application and owns everything that lives as long as it does. Main thread.
class AppDelegate
{
public:
    AppDelegate();
    ~AppDelegate();

    void applicationDidFinishLaunching(); // called once; no error stops the start
    // menu: where the menu is that the command was chosen from, and that is only just disappearing; see Captures.
    void perform(const Command &command, const QRect &menu = {});

    void sessionEnds(); // log-out: nothing is asked; what is being drawn is kept

    // At quit. Returns false if something is still busy after the limit. The process may exit anyway; stored data is
    // safe.
    bool stop(std::chrono::milliseconds limit);

private:
    void createStatusItem();
    void registerLoginItemOnce();
    void startEventTap();
    void useHotkey(const Hotkey &hotkey);
    void offerDrafts();
    KeyListener keyListener(); // what the settings window sees of the key monitor

    void captureRangeAction();
    void captureWindowAction();
    void openStore();
    void openLibrary();
    void openSettings();
    void quit();

    std::unique_ptr<StatusMenu> m_menu;
    std::unique_ptr<TrayHost> m_trayHost;
    std::unique_ptr<QSystemTrayIcon> m_statusItem; // null until there is a tray
    Captures m_captures;
    std::function<void(HotkeyGesture)> m_keyTest; // while set, receives the gestures
    HotkeyTrigger m_trigger;
    std::unique_ptr<KeyMonitor> m_eventTap;
    std::optional<KeyMonitor::Started> m_eventTapStarted; // std::nullopt if this system has no key monitor
    Timer m_eventTapRetry;
    std::unique_ptr<SettingsWindowController> m_settingsController; // created on first use
    AnnotationWindowController m_annotationController;
    Timer m_draftsOffer;
    LibraryWindowController m_libraryController;
};

} // namespace qm
