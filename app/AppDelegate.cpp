#include "app/AppDelegate.h"

#include "config/ConfigStore.h"
#include "config/FolderPresence.h"
#include "config/UserDefaults.h"
#include "imaging/Pasteboard.h"
#include "index/OcrIndexer.h"
#include "platform/LoginItem.h"
#include "platform/Notification.h"
#include "platform/QtQueue.h"
#include "platform/SystemStartup.h"
#include "platform/Workspace.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QFileInfo>

namespace qm {

using namespace std::chrono_literals;
using Way = CaptureTool::Request::Way;

static const QString lastRegion = QStringLiteral("lastRegion"); // in the user defaults

AppDelegate::AppDelegate()
    : m_cards({.open = [this](const QString &file) { perform({.verb = Command::Verb::annotate, .file = file}); },
               .copy = [this](const QString &file) { copyFile(file); },
               .reveal = [](const QString &file) { Workspace::reveal(file); },
               .trash = [this](const QString &file) { moveToTrash(file); }})
    , m_captureRunner(
          QtQueue::main(), [this](const CaptureResult &result) { captured(result); }, CaptureCards::thumbnailOf)
    , m_trigger(
          QtQueue::main(), ConfigStore::resolveHotkey(),
          [this](HotkeyGesture gesture) {
              if (m_keyTest)
                  m_keyTest(gesture);
              else
                  gesture == HotkeyGesture::tap ? captureRangeAction() : captureWindowAction();
          },
          [this] { return m_captureRunner.isCapturing(); })
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
    startEventTap();
    OcrIndexer::shared().tellProgress(
        [this](const ReadingProgress &reading) { m_libraryController.setReading(reading); });
    OcrIndexer::shared().start();
    SystemStartup::whenOpenedAgain([this] { openLibrary(); });
}

void AppDelegate::createStatusItem()
{
    m_menu = std::make_unique<StatusMenu>([this](const Command &command) { perform(command); });
    m_statusItem = std::make_unique<QSystemTrayIcon>(Symbol::trayIcon(QStringLiteral("camera.viewfinder")));
    m_statusItem->setToolTip(QStringLiteral("Quillmere"));
    m_statusItem->setContextMenu(m_menu.get());
    QObject::connect(m_statusItem.get(), &QSystemTrayIcon::activated, m_menu.get(), [this](auto reason) {
        if (reason == QSystemTrayIcon::Trigger && !trayOpensMenus())
            m_menu->popup(QCursor::pos());
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
    m_eventTapStarted = m_eventTap->start(handle);
    if (m_eventTapStarted == KeyMonitor::Started::notYet)
        m_eventTapRetry = QtQueue::main().postAfter(1s, [this] { startEventTap(); });
}

KeyListener AppDelegate::keyListener()
{
    KeyListener listener;
    listener.started = [this] { return m_eventTapStarted; };
    listener.keyName = [this](int keyCode) { return m_eventTap ? m_eventTap->keyName(keyCode) : QString(); };
    listener.beginTest = [this](const Hotkey &hotkey, std::function<void(HotkeyGesture)> recognized) {
        m_keyTest = std::move(recognized);
        m_trigger.setHotkey(hotkey);
    };
    listener.endTest = [this] {
        m_keyTest = nullptr;
        m_trigger.setHotkey(ConfigStore::resolveHotkey());
    };
    return listener;
}

void AppDelegate::perform(const Command &command)
{
    switch (command.verb) {
    case Command::Verb::open:
    case Command::Verb::library: return openLibrary();
    case Command::Verb::captureRegion:
    case Command::Verb::captureWindow:
    case Command::Verb::captureScroll:
    case Command::Verb::captureScreen:
    case Command::Verb::captureLast: return capture(command);
    case Command::Verb::openStore: return openStore();
    case Command::Verb::settings: return openSettings();
    case Command::Verb::annotate: return m_annotationController.open(command.file);
    case Command::Verb::quit: return quit();
    }
}

void AppDelegate::captureRangeAction()
{
    capture({.verb = Command::Verb::captureRegion});
}

void AppDelegate::captureWindowAction()
{
    capture({.verb = Command::Verb::captureWindow});
}

void AppDelegate::capture(const Command &command)
{
    CaptureTool::Request request;
    switch (command.verb) {
    case Command::Verb::captureWindow: request.way = Way::window; break;
    case Command::Verb::captureScroll: request.way = Way::scroll; break;
    case Command::Verb::captureScreen: request.way = command.isWholeDesktop ? Way::desktop : Way::monitor; break;
    case Command::Verb::captureLast: request.way = Way::area; break;
    default: request.way = Way::region;
    }
    if (m_countdown && m_countdown->isVisible())
        request.rest = m_countdown->nativeFrame();
    m_countdown.reset(); // what it was to begin is called off by another capture
    if (command.delay > 0s) {
        m_cards.takeAway(); // their place is the countdown's
        m_countdown = std::make_unique<Countdown>(command.delay, [this, request](QRect place) mutable {
            request.rest = place;
            request.isPatient = true; // a menu may have been opened meanwhile, to be captured
            begin(request);
        });
        return;
    }
    if (command.isFromMenu)
        request.rest |= m_menu ? m_menu->takePlace() : QRect();
    begin(request);
}

void AppDelegate::begin(CaptureTool::Request request)
{
    if (m_countdown)
        m_countdown.release()->deleteLater(); // it may be what calls this
    request.rest |= m_cards.takeAway();
    request.lastRegion = UserDefaults::rectangle(lastRegion);
    if (request.way == Way::area) {
        request.area = request.lastRegion;
        if (request.area.isNull())
            request.way = Way::region; // there is no last one yet
    }
    m_captureRunner.runCapture(request);
}

void AppDelegate::captured(const CaptureResult &result)
{
    if (!result.color.isEmpty()) {
        QGuiApplication::clipboard()->setText(result.color);
        return;
    }
    if (!result.picture.image.isNull()) {
        Pasteboard::setContent(result.picture);
        m_fileOnClipboard = result.path;
        m_onClipboard = QGuiApplication::clipboard()->mimeData();
    }
    if (result.isRegion)
        UserDefaults::setRectangle(lastRegion, result.area);
    if (!result.error.isEmpty())
        return sayWhatWentWrong(result);
    if (!result.thumbnail.isNull() && ConfigStore::showPreview())
        m_cards.show({.file = result.path, .thumbnail = result.thumbnail, .area = result.area});
    sayWhereCapturesGo();
}

void AppDelegate::sayWhatWentWrong(const CaptureResult &result)
{
    const QString folder = QFileInfo(result.path).path();
    if (!result.picture.image.isNull()) {
        say(AppLocale::text(u"The screenshot was not saved", u"スクリーンショットを保存できませんでした"),
            AppLocale::text(u"It should be in %1, but: %2. It is on the clipboard.",
                            u"%1 に保存できませんでした: %2。画像はクリップボードにあります。")
                .arg(folder, result.error));
    } else if (!result.area.isNull()) {
        say(AppLocale::text(u"The screenshot is lost", u"スクリーンショットは失われました"),
            AppLocale::text(u"It should be in %1, but: %2. It is not on the clipboard either.",
                            u"%1 に保存できませんでした: %2。クリップボードにもありません。")
                .arg(folder, result.error));
    } else {
        say(AppLocale::text(u"No screenshot was taken", u"撮影できませんでした"), result.error);
    }
}

void AppDelegate::sayWhereCapturesGo()
{
    if (!FolderPresence::isSharedFolderAway())
        return;
    say(AppLocale::text(u"The shared folder is not there", u"共有フォルダーが見つかりません"),
        AppLocale::text(u"Until %1 is back, captures are saved in %2.",
                        u"%1 が使えるようになるまで、撮影した画像は %2 に保存されます。")
            .arg(ConfigStore::sharedFolder(), ConfigStore::resolveCaptureDir()));
}

void AppDelegate::say(const QString &title, const QString &text)
{
    Notification::show(title, text, [this, title, text] {
        if (m_statusItem)
            m_statusItem->showMessage(title, text);
    });
}

void AppDelegate::copyFile(const QString &file)
{
    const Pasteboard::Content content = Pasteboard::contentOf(file);
    if (content.image.isNull())
        return;
    Pasteboard::setContent(content);
    m_fileOnClipboard = file;
    m_onClipboard = QGuiApplication::clipboard()->mimeData();
}

void AppDelegate::moveToTrash(const QString &file)
{
    Workspace::trash(file, [this, file](const Outcome &outcome) {
        if (!outcome)
            return say(AppLocale::text(u"The screenshot was not deleted", u"スクリーンショットを削除できませんでした"),
                       outcome.reason());
        m_cards.remove(file);
        QClipboard *clipboard = QGuiApplication::clipboard();
        if (m_onClipboard && m_onClipboard == clipboard->mimeData() && m_fileOnClipboard == file)
            clipboard->clear();
    });
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
                m_trigger.setHotkey(ConfigStore::resolveHotkey());
                OcrIndexer::shared().settingsChanged();
            },
            keyListener());
    }
    m_settingsController->show();
}

void AppDelegate::quit()
{
    QApplication::quit();
}

bool AppDelegate::stop(std::chrono::milliseconds limit)
{
    // A capture ends when its user does; a picture just being put on the clipboard gets a moment more.
    QElapsedTimer timer;
    timer.start();
    const bool indexStopped = OcrIndexer::stopShared(limit);
    const auto left = std::max(0ms, limit - std::chrono::milliseconds(timer.elapsed()));
    const bool capturesStopped = m_captureRunner.stop(indexStopped ? std::min(left, 200ms) : 0ms);
    const bool settingsStopped = !m_settingsController || m_settingsController->stop(std::min(left, 200ms));
    return indexStopped && capturesStopped && settingsStopped;
}

} // namespace qm
