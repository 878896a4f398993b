// Time until qmcapture's overlay appears, and from the selection to the file, compared with the minimum possible and
// with other programs. Several processes take part, so this is wall clock time, the best of several runs.

#include "helpers/x11/overlay/ScreenPixels.h"
#include "imaging/PngWriter.h"
#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QStorageInfo>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <optional>
#include <thread>
#include <vector>
#include <xcb/xcbext.h>

using namespace qm;
using Clock = std::chrono::steady_clock;
using Seen = std::optional<Clock::time_point>; // the time of the observation, if made

static constexpr QRect screen(0, 0, 2560, 1440);
static constexpr int runs = 15;

// Windows with text, like a real screen.
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

static double milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

// Milliseconds from starting the program until the condition holds; the program is then killed.
static double untilReady(Desktop &desktop, const QString &program, const QStringList &arguments,
                         const std::function<Seen()> &ready, const std::function<bool()> &over)
{
    const Clock::time_point start = Clock::now();
    QProcess &process = desktop.start(program, arguments);
    Seen seen;
    while (!(seen = ready()) && Clock::now() - start < std::chrono::seconds(20))
        std::this_thread::sleep_for(std::chrono::microseconds(100)); // leave the processor to the programs
    process.kill();
    process.waitForFinished();
    Desktop::wait(over);
    return seen ? milliseconds(*seen - start) : std::numeric_limits<double>::max();
}

// When another client was seen holding the pointer or the whole server; std::nullopt if none does. Grabbing the server
// makes the probe atomic, so that it disturbs nobody.
static Seen pointerIsHeld(const Desktop &desktop)
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
        if (Clock::now() - asked > std::chrono::seconds(1)) { // import grabs the server
            xcb_discard_reply(connection, cookie.sequence);
            return asked;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    const Reply<xcb_grab_pointer_reply_t> held(static_cast<xcb_grab_pointer_reply_t *>(answer));
    return held && held->status == XCB_GRAB_STATUS_ALREADY_GRABBED ? Seen(Clock::now()) : Seen();
}

// Milliseconds from releasing the button until the file is in place, and until that has been said, which is the moment when
// it would outlive a power cut.
struct Saved {
    double file, said;
};

static Saved untilSaved(Desktop &desktop, const QString &program, const QString &path,
                        const std::function<bool()> &ready, const std::function<bool()> &over,
                        const QStringList &environment = {})
{
    QFile::remove(path);
    QProcess &process = desktop.start(program, {QStringLiteral("-i"), path}, environment);
    Desktop::wait(ready);
    desktop.movePointer(screen.topLeft());
    desktop.buttonDown();
    desktop.movePointer(screen.center());
    desktop.movePointer(screen.bottomRight());
    // Wait until the overlay has caught up before releasing, as with a human hand: a corner is no longer dimmed.
    const QColor dimmedCorner = desktop.pixel({5, 5});
    Desktop::wait([&] { return desktop.pixel({5, 5}) != dimmedCorner; }, std::chrono::milliseconds(500));
    const Clock::time_point start = Clock::now();
    desktop.buttonUp();
    while (!QFile::exists(path) && Clock::now() - start < std::chrono::seconds(20))
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    const double file = milliseconds(Clock::now() - start);
    process.waitForReadyRead();
    const double said = milliseconds(Clock::now() - start);
    process.waitForFinished();
    Desktop::wait(over);
    if (QImage(path).size() != screen.size())
        qFatal("the capture is not the whole screen");
    return {file, said};
}

static double grabAndEncode(XConnection &server, const QString &path)
{
    const Clock::time_point start = Clock::now();
    ScreenGrab grab(server, screen.size());
    const QImage pixels = grab.takeScreen(screen);
    if (!PngWriter::write(path, {pixels, QSizeF(pixels.size())}))
        qFatal("cannot write");
    return milliseconds(Clock::now() - start);
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
    qputenv("DISPLAY", desktop.display().toLatin1());
    const std::unique_ptr<XConnection> server = XConnection::open();

    const QColor corner = desktop.pixel(screen.bottomRight()); // painted last
    const auto drawn = [&] { return desktop.pixel(screen.bottomRight()) != corner ? Seen(Clock::now()) : Seen(); };
    const auto gone = [&] { return !drawn(); };
    const auto held = [&] { return pointerIsHeld(desktop); };
    const auto free = [&] { return !held(); };
    const auto both = [&] { return drawn() ? held() : Seen(); };
    const QString qmcapture = folder + QStringLiteral("qmcapture");
    const QStringList region = {QStringLiteral("-i"), path};
    const QStringList unsynced = {QStringLiteral("LD_PRELOAD=") + folder + QStringLiteral("bench_unsynced.so")};

    // Alternate, so that other load on the machine affects all of them.
    constexpr double never = std::numeric_limits<double>::max();
    double floor = never, overlay = never, input = never, maim = never, import = never, file = never, least = never;
    std::vector<double> said, unsyncedSaid;
    for (int i = 0; i < runs; ++i) {
        floor = std::min(floor, untilReady(desktop, folder + QStringLiteral("capture_floor"), {}, drawn, gone));
        overlay = std::min(overlay, untilReady(desktop, qmcapture, region, drawn, gone));
        input = std::min(input, untilReady(desktop, qmcapture, region, held, free));
        maim = std::min(maim, untilReady(desktop, QStringLiteral("maim"), {QStringLiteral("-s"), path}, held, free));
        import = std::min(import, untilReady(desktop, QStringLiteral("import"), {path}, held, free));
        const auto isUp = [&] { return both().has_value(); };
        const Saved saved = untilSaved(desktop, qmcapture, path, isUp, free);
        file = std::min(file, saved.file);
        said.push_back(saved.said);
        unsyncedSaid.push_back(untilSaved(desktop, qmcapture, path, isUp, free, unsynced).said);
        least = std::min(least, grabAndEncode(*server, path));
    }
    std::printf(
        "start to overlay drawn      %6.1f ms  %.2f x a bare program that grabs the root and shows it (%.1f ms)\n",
        overlay, overlay / floor, floor);
    std::printf("start to pointer taken      %6.1f ms  %.2f x maim -s (%.1f ms), %.2f x import (%.1f ms)\n", input,
                input / maim, maim, input / import, import);
    std::printf("release to file in place    %6.1f ms  %.2f x grab and encoding alone (%.1f ms)\n", file, file / least,
                least);
    // The middle one: a disk is slow by turns, which the best run would hide.
    const auto middle = [](std::vector<double> &times) {
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    };
    const double synced = middle(said), alone = middle(unsyncedSaid);
    const QStorageInfo disk(path);
    std::printf("release to report, middle   %6.1f ms  %.2f x without waiting for the disk (%.1f ms); %s on %s\n",
                synced, synced / alone, alone, disk.fileSystemType().constData(), disk.device().constData());
}
