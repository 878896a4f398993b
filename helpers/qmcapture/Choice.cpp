#include "helpers/qmcapture/Choice.h"

#include "helpers/overlay/Fonts.h"
#include "helpers/overlay/Overlay.h"
#include "helpers/x11/overlay/X11Overlay.h"
#include "imaging/PngWriter.h"

#include <QFile>

#include <csignal>
#include <cstdio>
#include <xcb/composite.h>

using namespace qm;

namespace {

int fail(const QString &reason)
{
    std::fprintf(stderr, "qmcapture: %s\n", qPrintable(reason));
    return 1;
}

// The window's own pixels, including covered parts. Null if it no longer has any.
QImage windowPixels(XConnection &server, ScreenGrab &grab, const ScreenWindow &window)
{
    const xcb_pixmap_t pixmap = xcb_generate_id(server.get());
    xcb_composite_name_window_pixmap(server.get(), window.top, pixmap);
    const QImage pixels = grab.take(pixmap, window.depth, window.frame.translated(-window.topArea.topLeft()));
    xcb_free_pixmap(server.get(), pixmap);
    return pixels.copy();
}

QImage chosenPixels(XConnection &server, FrozenScreen &screen, const Overlay::Choice &choice)
{
    if (choice.result == Picker::Result::window && screen.isComposited() &&
        (!isWhollyVisible(screen.windows(), choice.window, server.area()) ||
         screen.windows()[choice.window].depth == 32)) {
        ScreenGrab grab(server, choice.area.size());
        QImage own = windowPixels(server, grab, screen.windows()[choice.window]);
        if (!own.isNull())
            return own;
    }
    return screen.pixels().copy(choice.area & screen.area());
}

} // namespace

extern "C" Q_DECL_EXPORT int quillmereChoose(Curtain &curtain, CaptureMode mode, const char *fileName)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const QString path = QFile::decodeName(fileName);
    std::unique_ptr<QGuiApplication> fonts;
    X11Overlay desktop(curtain);
    Overlay overlay(desktop, {.mode = mode == CaptureMode::region ? Picker::Mode::region : Picker::Mode::window,
                              .makeReadyForText = [&] { fonts = startFonts(); }});
    const Overlay::Choice choice = overlay.run();
    if (!choice.failure.isEmpty())
        return fail(choice.failure);
    if (choice.result == Picker::Result::cancelled)
        return 0;

    const QImage pixels = chosenPixels(curtain.server(), desktop.screen(), choice);
    // From here on, signals no longer stop the helper: the choice is made, and writing the file takes only a moment.
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signal, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // exceeding a file size limit is then an ordinary write error
    const int scale = pictureScale(desktop.screen().monitors(), choice.area);
    if (const Outcome written = PngWriter::write(path, {pixels, QSizeF(pixels.size()) / scale}); !written)
        return fail(QStringLiteral("cannot write %1: %2").arg(path, written.reason()));
    return 0;
}

static_assert(std::is_same_v<ChooseFunction, decltype(&quillmereChoose)>);
