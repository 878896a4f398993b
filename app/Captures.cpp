#include "app/Captures.h"

#include "app/TextCapture.h"
#include "config/ConfigStore.h"
#include "config/FolderPresence.h"
#include "config/UserDefaults.h"
#include "index/OcrRunner.h"
#include "platform/CaptureRoad.h"
#include "platform/Clipboard.h"
#include "platform/Notification.h"
#include "platform/QtQueue.h"
#include "platform/ToolPaths.h"
#include "platform/Workspace.h"
#include "ui/AppLocale.h"
#include "ui/HelperReason.h"
#include "ui/WindowPlacement.h"

#include <QFileInfo>
#include <QMimeData>
#include <QScreen>

namespace qm {

using namespace std::chrono_literals;
using Way = CaptureTool::Request::Way;

static const QString lastRegion = QStringLiteral("lastRegion"); // in the user defaults

// In native pixels of the desktop.
static QRect monitorUnderThePointer()
{
    const QScreen *screen = WindowPlacement::activeScreen();
    return screen ? WindowPlacement::toNative(screen->geometry(), *screen) : QRect();
}

Captures::Captures(std::function<void(const QString &)> annotate,
                   std::function<void(const QString &, const QString &)> trayMessage)
    : m_trayMessage(std::move(trayMessage))
    , m_cards({.open = std::move(annotate),
               .copy = [this](const QString &file) { copyFile(file); },
               .reveal = [](const QString &file) { Workspace::reveal(file); },
               .trash = [this](const QString &file) { moveToTrash(file); }})
    , m_runner(
          QtQueue::main(), [this](const CaptureResult &result) { captured(result); }, CaptureCards::thumbnailOf)
{
}

Captures::~Captures() = default;

void Captures::take(const Command &command, const QRect &menu)
{
    m_latest = command;
    m_latest.delay = 0s;
    m_latest.isFromMenu = false;
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
        m_countdown =
            std::make_unique<Countdown>(command.delay, [this, verb = command.verb, request](QRect place) mutable {
                request.rest = place;
                request.isPatient = true; // a menu may have been opened meanwhile, to be captured
                begin(verb, request);
            });
        return;
    }
    if (command.isFromMenu)
        request.rest |= menu.isNull() ? monitorUnderThePointer() : menu;
    begin(command.verb, request);
}

void Captures::begin(Command::Verb verb, CaptureTool::Request request)
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
    if (verb == Command::Verb::captureText)
        captureText(request);
    else
        m_runner.runCapture(request);
}

void Captures::captureText(const CaptureTool::Request &request)
{
    const std::optional<QString> helper = toolPaths().ocr;
    if (!helper) // before anything is drawn in vain
        return sayWhatWasRead({.textError = AppLocale::text(u"qmocr is missing", u"qmocr がありません")});
    m_runner.captureText(request, [helper = *helper](const QString &path) {
        const OcrRunner::Answer answer = OcrRunner::readPicture(helper, path);
        return CaptureRunner::Reading{answer.text, answer.error};
    });
}

void Captures::sayWhatWasRead(const CaptureResult &result)
{
    const TextCapture what = TextCapture::of(result);
    if (!what.copied.isEmpty())
        Clipboard::setText(what.copied);
    say(what.title, what.details);
}

void Captures::captured(const CaptureResult &result)
{
    if (!result.color.isEmpty()) {
        Clipboard::setText(result.color);
        return;
    }
    if (result.text || !result.textError.isEmpty())
        return sayWhatWasRead(result);
    putOnClipboard(result.picture, result.path);
    if (result.isRegion)
        UserDefaults::setRectangle(lastRegion, result.area);
    if (!result.error.isEmpty())
        return sayWhatWentWrong(result);
    if (!result.thumbnail.isNull() && ConfigStore::showPreview())
        m_cards.show({.file = result.path, .thumbnail = result.thumbnail, .area = result.area});
    if (!result.cut.isEmpty())
        say(AppLocale::text(u"The scrolling capture ends early", u"スクロールキャプチャは途中までです"),
            HelperReason::shown(result.cut));
    sayWhereCapturesGo();
}

void Captures::sayWhatWentWrong(const CaptureResult &result)
{
    const QString folder = QFileInfo(result.path).path(), reason = HelperReason::shown(result.error);
    if (!result.picture.image.isNull()) {
        say(AppLocale::text(u"The screenshot was not saved", u"スクリーンショットを保存できませんでした"),
            AppLocale::text(u"It should be in %1, but: %2. It is on the clipboard.",
                            u"%1 に保存できませんでした: %2。画像はクリップボードにあります。")
                .arg(folder, reason));
    } else if (!result.area.isNull()) {
        say(AppLocale::text(u"The screenshot is lost", u"スクリーンショットは失われました"),
            AppLocale::text(u"It should be in %1, but: %2. It is not on the clipboard either.",
                            u"%1 に保存できませんでした: %2。クリップボードにもありません。")
                .arg(folder, reason));
    } else {
        const QString title = AppLocale::text(u"No screenshot was taken", u"撮影できませんでした");
        result.isDenied ? sayItIsDenied(title, reason) : say(title, reason);
    }
}

// The desktop keeps the answer for ever, and many have forgotten that they gave it.
void Captures::sayItIsDenied(const QString &title, const QString &reason)
{
    const auto askAgain = [this] { CaptureRoad::askAgain([this] { take(m_latest); }); };
    Notification::offer(title, reason, {}, {{AppLocale::text(u"Ask Again", u"もう一度確認"), askAgain}},
                        [this, title, reason] { m_trayMessage(title, reason); });
}

void Captures::sayWhereCapturesGo()
{
    if (!FolderPresence::isSharedFolderAway())
        return;
    say(AppLocale::text(u"The shared folder is not there", u"共有フォルダーが見つかりません"),
        AppLocale::text(u"Until %1 is back, captures are saved in %2.",
                        u"%1 が使えるようになるまで、撮影した画像は %2 に保存されます。")
            .arg(ConfigStore::sharedFolder(), ConfigStore::resolveCaptureDir()));
}

void Captures::say(const QString &title, const QString &text)
{
    Notification::show(title, text, [this, title, text] { m_trayMessage(title, text); });
}

void Captures::copyFile(const QString &file)
{
    putOnClipboard(Pasteboard::contentOf(file), file);
}

void Captures::putOnClipboard(const Pasteboard::Content &content, const QString &file)
{
    if (content.image.isNull())
        return;
    m_onClipboard = Pasteboard::setContent(content);
    m_fileOnClipboard = file;
}

void Captures::moveToTrash(const QString &file)
{
    Workspace::trash(file, [this, file](const Outcome &outcome) {
        if (!outcome)
            return say(AppLocale::text(u"The screenshot was not deleted", u"スクリーンショットを削除できませんでした"),
                       outcome.reason());
        m_cards.remove(file);
        if (Clipboard::holds(m_onClipboard) && m_fileOnClipboard == file)
            Clipboard::clear();
    });
}

void Captures::completeLeft()
{
    m_runner.completeLeft([this](const QStringList &pictures) {
        say(AppLocale::text(u"A scrolling capture was interrupted", u"スクロールキャプチャが中断されていました"),
            AppLocale::text(u"What there is of it is saved: %1", u"途中までの画像を保存しました: %1")
                .arg(pictures.join(QStringLiteral(", "))));
    });
}

bool Captures::isCapturing() const
{
    return m_runner.isCapturing();
}

bool Captures::stop(std::chrono::milliseconds limit)
{
    return m_runner.stop(limit);
}

} // namespace qm
