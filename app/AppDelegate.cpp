#include "app/AppDelegate.h"

#include "config/ConfigStore.h"
#include "config/UserDefaults.h"
#include "index/OcrIndexer.h"
#include "platform/LoginItem.h"
#include "platform/QtQueue.h"
#include "platform/SystemStartup.h"
#include "platform/WindowActivation.h"
#include "platform/Workspace.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"
#include "ui/WindowPlacement.h"

#include <QApplication>
#include <QElapsedTimer>

namespace qm {

using namespace std::chrono_literals;

AppDelegate::AppDelegate()
    : m_captures([this](const QString &file) { perform({.verb = Command::Verb::annotate, .file = file}); },
                 [this](const QString &title, const QString &text) {
                     if (m_statusItem)
                         m_statusItem->showMessage(title, text);
                 })
    , m_trigger(
          QtQueue::main(), ConfigStore::resolveHotkey(),
          [this](HotkeyGesture gesture) {
              if (m_keyTest)
                  m_keyTest(gesture);
              else
                  gesture == HotkeyGesture::tap ? captureRangeAction() : captureWindowAction();
          },
          [this] { return m_captures.isCapturing(); })
    , m_libraryController([this](const QString &path) { perform({.verb = Command::Verb::annotate, .file = path}); })
{
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    SystemStartup::becomeAccessory();
    m_trayHost = whenTrayHostAppears([this] { createStatusItem(); });
    ConfigStore::createFolder(ConfigStore::resolveCaptureDir());
    registerLoginItemOnce();
    SystemStartup::askForAccessibility();
    m_eventTap = makeKeyMonitor();
    useHotkey(ConfigStore::resolveHotkey());
    startEventTap();
    OcrIndexer::shared().tellProgress(
        [this](const ReadingProgress &reading) { m_libraryController.setReading(reading); });
    OcrIndexer::shared().start();
    SystemStartup::whenOpenedAgain([this] { openLibrary(); });
    offerDrafts();
    m_captures.completeLeft();
}

void AppDelegate::createStatusItem()
{
    m_menu = std::make_unique<StatusMenu>([this](const Command &command) { perform(command, m_menu->takePlace()); });
    m_statusItem = std::make_unique<QSystemTrayIcon>(Symbol::trayIcon(QStringLiteral("camera.viewfinder")));
    m_statusItem->setToolTip(QStringLiteral("Quillmere"));
    m_statusItem->setContextMenu(m_menu.get());
    QObject::connect(m_statusItem.get(), &QSystemTrayIcon::activated, m_menu.get(), [this](auto reason) {
        if (reason != QSystemTrayIcon::Trigger || trayOpensMenus())
            return;
        if (WindowPlacement::isOurs())
            m_menu->popup(QCursor::pos());
        else
            perform({.verb = Command::Verb::library}); // a menu would be a window in the middle
    });
    m_statusItem->show();
}

// On by default, but never forced on a user who has switched it off. An entry that starts a program which has been moved
// or removed since is switched on all the same.
void AppDelegate::registerLoginItemOnce()
{
    const QString attempted = QStringLiteral("loginItemConfigured");
    if (UserDefaults::boolean(attempted)) {
        (void)LoginItem::repair();
        return;
    }
    (void)LoginItem::setEnabled(true);
    UserDefaults::setBoolean(attempted, true);
}

void AppDelegate::startEventTap()
{
    if (!m_eventTap)
        return;
    const auto handle = [this](const KeyEvent &event) {
        if (event.type == KeyEvent::Type::disabled)
            m_eventTap->enable();
        else
            m_trigger.handle(event);
    };
    m_eventTap->setShortcutNames(AppLocale::text(u"Capture Region", u"範囲を撮る"),
                                 AppLocale::text(u"Capture Window", u"ウィンドウを撮る"));
    m_eventTapStarted = m_eventTap->start(handle);
    if (m_eventTapStarted == KeyMonitor::Started::notYet)
        m_eventTapRetry = QtQueue::main().postAfter(1s, [this] { startEventTap(); });
}

void AppDelegate::useHotkey(const Hotkey &hotkey)
{
    m_trigger.setHotkey(hotkey);
    if (m_eventTap)
        m_eventTap->setTrigger(keyCode(hotkey.modifier));
}

// A little after the start, at log-in too, as that is what follows a crash. The window does not take the focus. It waits for
// a capture: it would be in the picture.
void AppDelegate::offerDrafts()
{
    m_draftsOffer = QtQueue::main().postAfter(1s, [this] {
        if (m_captures.isCapturing())
            offerDrafts();
        else
            m_annotationController.offerDrafts();
    });
}

KeyListener AppDelegate::keyListener()
{
    KeyListener listener;
    listener.started = [this] { return m_eventTapStarted; };
    listener.road = [this] { return m_eventTap ? m_eventTap->road() : KeyRoad::none; };
    listener.keyName = [this](int keyCode) { return m_eventTap ? m_eventTap->keyName(keyCode) : QString(); };
    listener.beginTest = [this](const Hotkey &hotkey, std::function<void(HotkeyGesture)> recognized) {
        m_keyTest = std::move(recognized);
        useHotkey(hotkey);
    };
    listener.endTest = [this] {
        m_keyTest = nullptr;
        useHotkey(ConfigStore::resolveHotkey());
    };
    return listener;
}

void AppDelegate::perform(const Command &command, const QRect &menu)
{
    const bool isWindow = command.verb == Command::Verb::captureWindow;
    const bool mayBeAShortcut = menu.isNull() && !command.isFromMenu && command.delay.count() == 0;
    if (m_keyTest && mayBeAShortcut && (isWindow || command.verb == Command::Verb::captureRegion))
        return m_keyTest(isWindow ? HotkeyGesture::hold : HotkeyGesture::tap); // a shortcut of the desktop's is tried
    const WindowActivation activation(command.activation);
    switch (command.verb) {
    case Command::Verb::open:
    case Command::Verb::library: return openLibrary();
    case Command::Verb::captureRegion:
    case Command::Verb::captureWindow:
    case Command::Verb::captureScroll:
    case Command::Verb::captureScreen:
    case Command::Verb::captureLast:
    case Command::Verb::captureText: return m_captures.take(command, menu);
    case Command::Verb::openStore: return openStore();
    case Command::Verb::settings: return openSettings();
    case Command::Verb::annotate: return m_annotationController.open(command.file);
    case Command::Verb::quit: return quit();
    }
}

void AppDelegate::captureRangeAction()
{
    m_captures.take({.verb = Command::Verb::captureRegion});
}

void AppDelegate::captureWindowAction()
{
    m_captures.take({.verb = Command::Verb::captureWindow});
}

void AppDelegate::openStore()
{
    const QString folder = ConfigStore::resolveCaptureDir();
    ConfigStore::createFolder(folder);
    Workspace::openFolder(folder);
}

void AppDelegate::openLibrary()
{
    m_libraryController.show();
}

void AppDelegate::openSettings()
{
    if (!m_settingsController) {
        m_settingsController = std::make_unique<SettingsWindowController>(
            QtQueue::main(),
            [this] {
                useHotkey(ConfigStore::resolveHotkey());
                OcrIndexer::shared().settingsChanged();
            },
            keyListener());
    }
    m_settingsController->show();
}

void AppDelegate::quit()
{
    m_annotationController.askAll([] { QApplication::quit(); });
}

void AppDelegate::sessionEnds()
{
    m_annotationController.endSession();
}

bool AppDelegate::stop(std::chrono::milliseconds limit)
{
    m_annotationController.storeDrafts();
    m_eventTap.reset(); // a desktop that it has told of the key is told to forget it
    // A capture ends when its user does; a picture just being put on the clipboard gets a moment more.
    QElapsedTimer timer;
    timer.start();
    const bool indexStopped = OcrIndexer::stopShared(limit);
    const auto left = std::max(0ms, limit - std::chrono::milliseconds(timer.elapsed()));
    const bool capturesStopped = m_captures.stop(indexStopped ? std::min(left, 200ms) : 0ms);
    const bool settingsStopped = !m_settingsController || m_settingsController->stop(std::min(left, 200ms));
    const bool editorsStopped = m_annotationController.stop(std::min(left, 200ms));
    return indexStopped && capturesStopped && settingsStopped && editorsStopped;
}

} // namespace qm
