// qmcapture -i PATH    the user draws a region; its picture is written to PATH
// qmcapture -iw PATH   the user points at a window
// Exit status 0: written, or cancelled (then there is no file); 1: failed, with one line on stderr and no file.

#include "helpers/grab/Overlay.h"
#include "imaging/PngWriter.h"

#include <QFileInfo>
#include <QGuiApplication>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>
#include <unistd.h>
#include <xcb/composite.h>

using namespace qm;

namespace {

int fail(const QString &reason)
{
    std::fprintf(stderr, "qmcapture: %s\n", qPrintable(reason));
    return 1;
}

// Qt is only here for its fonts: a platform without a display starts several times as fast as the one for X.
std::unique_ptr<QGuiApplication> startFonts(char *programName)
{
    for (const char *variable : {"QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_FONT_DPI"})
        qunsetenv(variable);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
    static int argumentCount = 1;
    static char *arguments[] = {programName, nullptr};
    return std::make_unique<QGuiApplication>(argumentCount, arguments);
}

// The window's own pixels, with the parts that others cover. Null when it has none any more.
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

int main(int argc, char **argv)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM); // an overlay that nobody waits for must not stay
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});

    const QByteArray mode = argc == 3 ? argv[1] : "";
    if (mode != "-i" && mode != "-iw")
        return fail(QStringLiteral("usage: qmcapture -i|-iw PATH"));
    const QString path = QFile::decodeName(argv[2]);
    const QFileInfo folder(QFileInfo(path).path());
    if (!folder.isDir() || !folder.isWritable())
        return fail(QStringLiteral("cannot write to the folder %1").arg(folder.filePath()));

    const std::unique_ptr<XConnection> server = XConnection::open();
    if (!server)
        return fail(QStringLiteral("no X server"));
    if (!CaptureClaim::take(*server))
        return 0;
    std::unique_ptr<QGuiApplication> fonts;
    Overlay overlay(*server, {.mode = mode == "-i" ? Picker::Mode::region : Picker::Mode::window,
                              .makeReadyForText = [&] { fonts = startFonts(argv[0]); }});
    const Overlay::Choice choice = overlay.run();
    if (!choice.failure.isEmpty())
        return fail(choice.failure);
    if (choice.result == Picker::Result::cancelled)
        return 0;

    const QImage pixels = chosenPixels(*server, overlay.screen(), choice);
    // Asked to end from here on, the helper still puts the whole file into place: it is a moment, and the choice was made.
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signal, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a limit on the size of files is then an error like a full disk
    const int scale = pictureScale(overlay.screen().monitors(), choice.area);
    if (const Outcome written = PngWriter::write(path, {pixels, QSizeF(pixels.size()) / scale}); !written)
        return fail(QStringLiteral("cannot write %1: %2").arg(path, written.reason()));
    return 0;
}
