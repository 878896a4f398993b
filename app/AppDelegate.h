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
#include "ui/CaptureCards.h"
#include "ui/Countdown.h"

#include <QMimeData>
#include <QPointer>
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
    void perform(const Command &command);

    // At quit. Returns false if something is still busy after the limit. The process may exit anyway; stored data is
    // safe.
    bool stop(std::chrono::milliseconds limit);

private:
    void createStatusItem();
    void registerLoginItemOnce();
    void startEventTap();
    KeyListener keyListener(); // what the settings window sees of the key monitor

    void captureRangeAction();
    void captureWindowAction();
    void capture(const Command &command);
    void begin(CaptureTool::Request request);
    void captured(const CaptureResult &result);
    void sayWhatWentWrong(const CaptureResult &result);
    void sayWhereCapturesGo(); // if it is not where the settings say
    void say(const QString &title, const QString &text);
    void copyFile(const QString &file);
    void moveToTrash(const QString &file); // and off the clipboard, if it is there
    void openStore();
    void openLibrary();
    void openSettings();
    void quit();

    std::unique_ptr<StatusMenu> m_menu;
    std::unique_ptr<TrayHost> m_trayHost;
    std::unique_ptr<QSystemTrayIcon> m_statusItem; // null until there is a tray
    CaptureCards m_cards;
    std::unique_ptr<Countdown> m_countdown; // to a capture that was asked for with a delay
    CaptureRunner m_captureRunner;
    QString m_fileOnClipboard;                    // what was put there last
    QPointer<const QMimeData> m_onClipboard;      // and the clipboard's own object for it
    std::function<void(HotkeyGesture)> m_keyTest; // while set, receives the gestures
    HotkeyTrigger m_trigger;
    std::unique_ptr<KeyMonitor> m_eventTap;
    std::optional<KeyMonitor::Started> m_eventTapStarted; // std::nullopt if this system has no key monitor
    Timer m_eventTapRetry;
    std::unique_ptr<SettingsWindowController> m_settingsController; // created on first use
    AnnotationWindowController m_annotationController;
    LibraryWindowController m_libraryController;
};

} // namespace qm
