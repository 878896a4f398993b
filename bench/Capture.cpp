// How soon the overlay of qmcapture is there, and how soon the file after the choice: beside the least that a program can
// do, and beside what others do. Several processes take part, so this is time on the wall, the best of several runs.

#include "helpers/grab/ScreenPixels.h"
#include "imaging/PngWriter.h"
#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>

#include <chrono>
#include <cstdio>
#include <limits>
#include <thread>
#include <xcb/xcbext.h>

using namespace qm;
using Clock = std::chrono::steady_clock;

static constexpr QRect screen(0, 0, 2560, 1440);
static constexpr int runs = 15;

// Windows with text, as screens have them.
static QImage desk()
{
    QImage image(screen.size(), QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, screen.height());
    sky.setColorAt(0, QColor(40, 60, 110));
    sky.setColorAt(1, QColor(150, 170, 200));
    painter.fillRect(screen, sky);
    QFont font;
    font.setPixelSize(15);
    painter.setFont(font);
    for (const QRect &window : {QRect(80, 60, 1300, 900), QRect(900, 300, 1500, 1050)}) {
        painter.fillRect(window, QColor(250, 250, 248));
        painter.fillRect(QRect(window.topLeft(), QSize(window.width(), 34)), QColor(222, 222, 226));
        for (int y = window.top() + 60, line = 0; y < window.bottom() - 10; y += 22, ++line) {
            painter.drawText(window.left() + 24, y,
                             QStringLiteral("%1   The total of %2 was settled on the %3th; see folder %4 for the rest.")
                                 .arg(line)
                                 .arg(line * 7919 % 10007)
                                 .arg(line % 28)
                                 .arg(line * 31 % 977));
        }
    }
    return image;
}

// Milliseconds from the program's start until the condition holds; it is ended then. The best of several runs.
static double untilReady(Desktop &desktop, const QString &program, const QStringList &arguments,
                         const std::function<bool()> &ready, const std::function<bool()> &over)
{
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i < runs; ++i) {
        const Clock::time_point start = Clock::now();
        QProcess &process = desktop.start(program, arguments);
        Clock::time_point seen = Clock::now(); // asking may take long, where the server is not free to answer
        while (!ready() && seen - start < std::chrono::seconds(20)) {
            std::this_thread::sleep_for(std::chrono::microseconds(100)); // the programs need the processor
            seen = Clock::now();
        }
        best = std::min(best, std::chrono::duration<double, std::milli>(seen - start).count());
        process.kill();
        process.waitForFinished();
        Desktop::wait(over);
    }
    return best;
}

// Whether someone else holds the pointer, or the whole server. Nobody is disturbed: all of it is one moment for the server.
static bool pointerIsHeld(const Desktop &desktop)
{
    xcb_connection_t *connection = desktop.connection();
    xcb_grab_server(connection);
    const auto cookie = xcb_grab_pointer(connection, 0, desktop.root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, 0,
                                         0, XCB_CURRENT_TIME);
    xcb_ungrab_pointer(connection, XCB_CURRENT_TIME);
    xcb_ungrab_server(connection);
    xcb_flush(connection);
    void *answer = nullptr;
    const Clock::time_point asked = Clock::now();
    while (!xcb_poll_for_reply(connection, cookie.sequence, &answer, nullptr)) {
        if (Clock::now() - asked > std::chrono::seconds(1)) { // import keeps the server for itself
            xcb_discard_reply(connection, cookie.sequence);
            return true;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    const Reply<xcb_grab_pointer_reply_t> held(static_cast<xcb_grab_pointer_reply_t *>(answer));
    return held && held->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
}

static double untilFile(Desktop &desktop, const QString &program, const QString &path,
                        const std::function<bool()> &ready, const std::function<bool()> &over)
{
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i < runs; ++i) {
        QFile::remove(path);
        QProcess &process = desktop.start(program, {QStringLiteral("-i"), path});
        Desktop::wait(ready);
        desktop.movePointer(screen.topLeft());
        desktop.buttonDown();
        desktop.movePointer(screen.center());
        desktop.movePointer(screen.bottomRight());
        // The overlay follows before the button is let go, as it does under a hand.
        Desktop::wait([&] { return desktop.pixel({5, 5}) == desktop.pixel({5, 6}); }, std::chrono::milliseconds(200));
        desktop.buttonUp();
        const Clock::time_point start = Clock::now();
        while (!QFile::exists(path) && Clock::now() - start < std::chrono::seconds(20))
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        best = std::min(best, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        process.waitForFinished();
        Desktop::wait(over);
    }
    return best;
}

static double grabAndEncode(const Desktop &desktop, const QString &path)
{
    qputenv("DISPLAY", desktop.display().toLatin1());
    const std::unique_ptr<XConnection> server = XConnection::open();
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i < runs; ++i) {
        const Clock::time_point start = Clock::now();
        ScreenGrab grab(*server, screen.size());
        const QImage pixels = grab.takeScreen(screen);
        if (!PngWriter::write(path, {pixels, QSizeF(pixels.size())}))
            std::abort();
        best = std::min(best, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    return best;
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    Desktop desktop({.size = screen.size(), .panel = false});
    desktop.movePointer({1200, 700});
    const PatternWindow ground(desktop, QStringLiteral("desk"), screen, desk(), PatternWindow::Kind::unmanaged);
    const QString folder = QCoreApplication::applicationDirPath() + u'/';
    const QString path = desktop.home().file(QStringLiteral("capture.png"));

    const QColor corner = desktop.pixel(screen.bottomRight()); // what is painted last
    const auto drawn = [&] { return desktop.pixel(screen.bottomRight()) != corner; };
    const auto gone = [&] { return !drawn(); };
    const auto held = [&] { return pointerIsHeld(desktop); };
    const auto free = [&] { return !held(); };
    const QString qmcapture = folder + QStringLiteral("qmcapture");
    const double floor = untilReady(desktop, folder + QStringLiteral("capture_floor"), {}, drawn, gone);
    const double overlay = untilReady(desktop, qmcapture, {QStringLiteral("-i"), path}, drawn, gone);
    const double usable = untilReady(
        desktop, qmcapture, {QStringLiteral("-i"), path}, [&] { return drawn() && held(); }, gone);
    const double maim = untilReady(desktop, QStringLiteral("maim"), {QStringLiteral("-s"), path}, held, free);
    const double import = untilReady(desktop, QStringLiteral("import"), {path}, held, free);
    std::printf(
        "start to overlay drawn       %6.1f ms  %.2f x a bare program that grabs the root and shows it (%.1f ms)\n",
        overlay, overlay / floor, floor);
    std::printf("start to ready for a drag    %6.1f ms  %.2f x maim -s (%.1f ms), %.2f x import (%.1f ms)\n", usable,
                usable / maim, maim, usable / import, import);

    const double file = untilFile(
        desktop, qmcapture, path, [&] { return drawn() && held(); }, free);
    const double least = grabAndEncode(desktop, path);
    std::printf("release to file in place     %6.1f ms  %.2f x grab and encoding alone (%.1f ms)\n", file, file / least,
                least);
}
