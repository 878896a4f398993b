#include "helpers/qmcapture/Choice.h"

#include "config/CaptureNames.h"
#include "helpers/overlay/Fonts.h"
#include "helpers/overlay/Overlay.h"
#include "helpers/wayland/WaylandClaim.h"
#include "helpers/wayland/desktop/DesktopFreeze.h"
#include "helpers/wayland/desktop/ScreenshotPortal.h"
#include "helpers/wayland/desktop/UserBus.h"
#include "helpers/wayland/overlay/ClipboardOffer.h"
#include "helpers/wayland/overlay/WaylandOverlay.h"
#include "helpers/x11/overlay/X11Overlay.h"
#include "imaging/PngWriter.h"
#include "ui/AppLocale.h"

#include <QColor>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <sys/stat.h>

using namespace qm;
using namespace std::chrono_literals;

namespace {

// One line of JSON on standard output.
void say(const QJsonObject &what)
{
    const QByteArray line = QJsonDocument(what).toJson(QJsonDocument::Compact) + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fflush(stdout);
}

int fail(QJsonObject what, const QString &reason)
{
    what.insert(QStringLiteral("error"), reason);
    say(what);
    std::fprintf(stderr, "qmcapture: %s\n", qPrintable(reason));
    return 1;
}

struct OverlayInUse {
    std::unique_ptr<OverlayDesktop> desktop = {};
    WaylandOverlay *wayland = nullptr; // the same, if it is one
};

OverlayInUse overlayOn(const RaisedCurtain &curtain, const char *trigger)
{
    if (!curtain.wayland)
        return {std::make_unique<X11Overlay>(*curtain.x11, trigger)};
    auto overlay = std::make_unique<WaylandOverlay>(*curtain.wayland, trigger);
    WaylandOverlay *wayland = overlay.get();
    return {std::move(overlay), wayland};
}

std::unique_ptr<FrozenScreen> screenBehind(const RaisedCurtain &curtain)
{
    if (curtain.wayland)
        return std::make_unique<FrozenWaylandScreen>(*curtain.wayland);
    return std::make_unique<FrozenX11Screen>(*curtain.x11);
}

QImage chosenPixels(FrozenScreen &screen, const Overlay::Choice &choice)
{
    if (choice.result == Picker::Result::window && (!isWhollyVisible(screen.windows(), choice.window, screen.area()) ||
                                                    screen.windows()[choice.window].depth == 32)) {
        QImage own = screen.windowPixels(choice.window);
        if (!own.isNull())
            return own;
    }
    return screen.pixels().copy(choice.area & screen.area());
}

// A capture without a choice.
QRect areaOf(const CaptureRequest &request, FrozenScreen &screen)
{
    switch (request.way) {
    case CaptureRequest::Way::area: return request.area;
    case CaptureRequest::Way::monitor: return monitorAt(screen.monitors(), screen.pointer().value_or(QPoint())).area;
    default: return screen.area();
    }
}

Overlay::Choice choiceWithoutAsking(const CaptureRequest &request, FrozenScreen &screen)
{
    Overlay::Choice choice;
    choice.area = areaOf(request, screen) & screen.area();
    choice.result = request.way == CaptureRequest::Way::area ? Picker::Result::region : Picker::Result::monitor;
    if (choice.area.isEmpty())
        choice.failure =
            AppLocale::text(u"that part of the screen is no longer there", u"その範囲は画面にもうありません");
    else if (screen.pixels().isNull())
        choice.failure = Overlay::unreadableScreen();
    return choice;
}

// Writes the picture to the request's path. If that is one of our names and meanwhile belongs to another capture, the
// next second's is taken. Where that fails, to the request's other path, for this user's eyes only.
int save(const CaptureRequest &request, const Image &image, QJsonObject what, ClipboardOffer *offer = nullptr)
{
    const auto deliver = [offer](const QString &path) {
        QFile file(path);
        if (offer && file.open(QIODevice::ReadOnly))
            offer->deliver(file.readAll());
    };
    // From here on, signals no longer stop the helper: the choice is made, and writing the file takes only a moment.
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signal, SIG_IGN);
    QString path = QFile::decodeName(request.path);
    const bool isOurName = CaptureNames::takenAt(QFileInfo(path).fileName()).has_value();
    Outcome written = isOurName ? PngWriter::writeNew(path, image) : PngWriter::write(path, image);
    while (!written && isOurName && QFileInfo::exists(path)) {
        path = CaptureNames::aSecondLater(path);
        written = PngWriter::writeNew(path, image);
    }
    if (written) {
        what.insert(QStringLiteral("file"), path);
        say(what);
        deliver(path);
        return 0;
    }
    if (request.unsaved) {
        umask(S_IRWXG | S_IRWXO);
        const QString unsaved = QFile::decodeName(request.unsaved);
        if (PngWriter::write(unsaved, image)) {
            what.insert(QStringLiteral("unsaved"), unsaved);
            deliver(unsaved);
        }
    }
    return fail(what, written.reason());
}

// The user chooses in a dialog of the desktop, on the screen as it is.
int captureByDialog(const CaptureRequest &request, const WaylandOutputs &outputs)
{
    using Way = CaptureRequest::Way;
    const ScreenshotPortal::Answer answer = request.way == Way::area // which cannot be chosen there
                                                ? ScreenshotPortal::Answer()
                                                : ScreenshotPortal::take(UserBus(), ScreenshotPortal::Manner::dialog);
    using Kind = ScreenshotPortal::Answer::Kind;
    if (answer.kind == Kind::cancelled)
        return 0;
    if (answer.kind != Kind::picture)
        return fail({}, noPictureOfScreen());
    // Which monitor it is from is not told.
    const auto scaleOn = [](const std::unique_ptr<WaylandOutput> &output) {
        return pictureScale({{.name = {}, .area = output->logical, .scale = output->pointScale()}}, output->logical);
    };
    const int scale = scaleOn(outputs.all().front());
    const bool isCommon = std::all_of(outputs.all().begin(), outputs.all().end(),
                                      [&](const auto &output) { return scaleOn(output) == scale; });
    const QString what = request.way == Way::window ? QStringLiteral("window") : QStringLiteral("screen");
    const int status = save(request, {answer.picture, QSizeF(answer.picture.size()) / (isCommon ? scale : 1)},
                            {{QStringLiteral("what"), what}});
    if (status == 0) // else it is all that the user has
        QFile::remove(answer.file);
    return status;
}

const char *name(Picker::Result result)
{
    return result == Picker::Result::window ? "window" : result == Picker::Result::region ? "region" : "screen";
}

} // namespace

extern "C" Q_DECL_EXPORT int quillmereChoose(const RaisedCurtain &curtain, const CaptureRequest &request)
{
    using Way = CaptureRequest::Way;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    if (curtain.wayland && !curtain.wayland->isUp())
        return captureByDialog(request, curtain.wayland->outputs());
    std::unique_ptr<QGuiApplication> fonts;
    OverlayInUse inUse;
    std::unique_ptr<ClipboardOffer> offer;
    std::unique_ptr<FrozenScreen> alone;
    Overlay::Choice choice;
    if (request.way == Way::region || request.way == Way::window) {
        inUse = overlayOn(curtain, request.trigger);
        const auto offerTo = [&](Picker::Result result) {
            using What = ClipboardOffer::What;
            if (inUse.wayland && request.isForClipboard)
                offer = ClipboardOffer::make(curtain.wayland->server(), curtain.wayland->seat(),
                                             inUse.wayland->latestSerial(),
                                             result == Picker::Result::color ? What::text : What::picture);
        };
        using Offer = Picker::Offer;
        Overlay overlay(*inUse.desktop,
                        {.mode = request.way == Way::region ? Picker::Mode::region : Picker::Mode::window,
                         .offer = inUse.desktop->screen().knowsWindows() ? Offer::all : Offer::noWindows,
                         .lastRegion = request.lastRegion,
                         .patience = request.isPatient ? 60s : 1s,
                         .makeReadyForText = [&] { fonts = startFonts(); },
                         .chosen = offerTo});
        choice = overlay.run();
        if (curtain.claim) // the next capture need not wait until somebody has fetched this one from the clipboard
            curtain.claim->giveUp();
    } else {
        alone = screenBehind(curtain);
        choice = choiceWithoutAsking(request, *alone);
    }
    FrozenScreen &screen = inUse.desktop ? inUse.desktop->screen() : *alone;
    if (!choice.failure.isEmpty())
        return fail({}, choice.failure);
    if (choice.result == Picker::Result::cancelled)
        return 0;
    const QRect &area = choice.area;
    QJsonObject what{{QStringLiteral("area"), QJsonArray{area.x(), area.y(), area.width(), area.height()}}};
    if (choice.result == Picker::Result::color) {
        const QString color = QColor(screen.pixels().pixel(area.topLeft())).name();
        what.insert(QStringLiteral("color"), color);
        say(what);
        if (offer)
            offer->deliver(color.toLatin1());
        return 0;
    }
    what.insert(QStringLiteral("what"), QLatin1String(name(choice.result)));

    const QImage pixels = chosenPixels(screen, choice);
    const int scale = pictureScale(screen.monitors(), area);
    return save(request, {pixels, QSizeF(pixels.size()) / scale}, what, offer.get());
}

extern "C" Q_DECL_EXPORT void quillmereFreeze(const WaylandOutputs &outputs, const CaptureRequest &request,
                                              WaylandCurtain::Frozen &frozen)
{
    using Way = CaptureRequest::Way;
    frozen = freezeByDesktop(outputs, request.way == Way::window   ? FreezeFor::window
                                      : request.way == Way::region ? FreezeFor::region
                                                                   : FreezeFor::noChoice);
}

static_assert(std::is_same_v<ChooseFunction, decltype(&quillmereChoose)>);
static_assert(std::is_same_v<FreezeFunction, decltype(&quillmereFreeze)>);
