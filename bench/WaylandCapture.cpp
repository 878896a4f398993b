// Time until qmcapture's overlay is seen on Wayland, and from the selection to the file, compared with the minimum possible. What
// is seen is asked of the compositor: a program that is told when its picture was shown may be too busy to listen. Wall clock,
// the best of several runs; sway draws 250 times a second here.

#include "imaging/PngWriter.h"
#include "platform/wayland/WaylandServer.h"
#include "tests/support/SwayDesktop.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>

#include <algorithm>
#include <cstdio>
#include <protocol/screencopy.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <wayland-client-protocol.h>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr QSize screen(1920, 1080);
constexpr int runs = 15;

// The monitor's first pixel, over and over.
class Corner
{
public:
    Corner()
        : m_server(WaylandServer::connect())
        , m_shm(m_server->bind<wl_shm>(wl_shm_interface, 1))
        , m_output(m_server->bind<wl_output>(wl_output_interface, 1))
        , m_manager(m_server->bind<zwlr_screencopy_manager_v1>(zwlr_screencopy_manager_v1_interface, 1))
    {
        const int file = memfd_create("corner", MFD_CLOEXEC);
        if (ftruncate(file, 4) != 0)
            qFatal("no memory");
        m_pixel = static_cast<quint32 *>(mmap(nullptr, 4, PROT_READ, MAP_SHARED, file, 0));
        wl_shm_pool *pool = wl_shm_create_pool(m_shm, file, 4);
        m_buffer = wl_shm_pool_create_buffer(pool, 0, 1, 1, 4, WL_SHM_FORMAT_XRGB8888);
    }

    quint32 seen()
    {
        zwlr_screencopy_frame_v1 *frame =
            zwlr_screencopy_manager_v1_capture_output_region(m_manager, 0, m_output, 0, 0, 1, 1);
        static constexpr zwlr_screencopy_frame_v1_listener listener = {
            .buffer = [](void *self, zwlr_screencopy_frame_v1 *handle, uint32_t, uint32_t, uint32_t,
                         uint32_t) { zwlr_screencopy_frame_v1_copy(handle, static_cast<Corner *>(self)->m_buffer); },
            .flags = [](void *, zwlr_screencopy_frame_v1 *, uint32_t) {},
            .ready = [](void *self, zwlr_screencopy_frame_v1 *, uint32_t, uint32_t,
                        uint32_t) { static_cast<Corner *>(self)->m_isReady = true; },
            .failed = [](void *, zwlr_screencopy_frame_v1 *) { qFatal("sway gives no picture"); },
        };
        m_isReady = false;
        zwlr_screencopy_frame_v1_add_listener(frame, &listener, this);
        m_server->waitFor([this] { return m_isReady; }, 10s);
        zwlr_screencopy_frame_v1_destroy(frame);
        return *m_pixel;
    }

    // Milliseconds until it is another one.
    double untilNot(quint32 color, Clock::time_point start)
    {
        while (seen() == color && Clock::now() - start < 20s)
            std::this_thread::sleep_for(1ms); // leave the processor to the programs
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    }

private:
    const std::unique_ptr<WaylandServer> m_server;
    wl_shm *m_shm;
    wl_output *m_output;
    zwlr_screencopy_manager_v1 *m_manager;
    quint32 *m_pixel;
    wl_buffer *m_buffer;
    bool m_isReady = false;
};

double least(const QList<double> &all)
{
    return *std::min_element(all.begin(), all.end());
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    SwayDesktop desktop({{screen}});
    desktop.command(u"output HEADLESS-1 mode --custom 1920x1080@250Hz"_s);
    QImage desk(screen, QImage::Format_RGB32);
    QPainter painter(&desk);
    painter.fillRect(desk.rect(), QGradient(QGradient::DeepBlue));
    for (int line = 0; line < 40; ++line)
        painter.drawText(100, 100 + 22 * line,
                         u"%1  The total was settled; see folder %2."_s.arg(line).arg(line * 7919));
    painter.end();
    desktop.showWindow(u"desk"_s, desk, {0, 0});
    desktop.movePointer({1200, 700});
    if (!desktop.shows(desk.copy(0, 0, 100, 100)))
        qFatal("sway does not show the window");
    Corner corner;
    const quint32 before = corner.seen();
    const QString folder = QCoreApplication::applicationDirPath() + u'/';
    const QString path = desktop.home().file(u"capture.png"_s);

    const auto untilSeen = [&](const QString &program, const QStringList &arguments) {
        const Clock::time_point start = Clock::now();
        QProcess &process = desktop.start(folder + program, arguments);
        const double time = corner.untilNot(before, start);
        process.kill();
        process.waitForFinished();
        while (corner.seen() != before) {
        }
        return time;
    };
    const auto untilFile = [&] {
        QFile::remove(path);
        QProcess &process = desktop.start(folder + u"qmcapture"_s, {u"-i"_s, path});
        corner.untilNot(before, Clock::now());
        desktop.movePointer({0, 0});
        desktop.buttonDown();
        desktop.movePointer({960, 540});
        desktop.movePointer({screen.width() - 1, screen.height() - 1});
        Desktop::wait([&] { return corner.seen() == before; }); // it has caught up, as with a human hand
        const Clock::time_point start = Clock::now();
        desktop.buttonUp();
        while (!QFile::exists(path) && Clock::now() - start < 20s)
            std::this_thread::sleep_for(200us);
        const double time = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        process.waitForFinished();
        if (QImage(path).size() != screen)
            qFatal("the capture is not the whole screen");
        return time;
    };
    const auto encoding = [&] {
        const Clock::time_point start = Clock::now();
        if (!PngWriter::write(path, {desk, QSizeF(screen)}))
            qFatal("cannot write");
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    };

    QList<double> floors, overlays, files, encodings; // in turn, so that other load on the machine affects all of them
    for (int i = 0; i < runs; ++i) {
        floors << untilSeen(u"wayland_floor"_s, {});
        overlays << untilSeen(u"qmcapture"_s, {u"-i"_s, path});
        files << untilFile();
        encodings << encoding();
    }
    std::printf(
        "start to overlay seen       %6.1f ms  %.2f x a bare client that takes the screen and shows it (%.1f ms)\n",
        least(overlays), least(overlays) / least(floors), least(floors));
    std::printf("release to file in place    %6.1f ms  %.2f x encoding alone (%.1f ms)\n", least(files),
                least(files) / least(encodings), least(encodings));
}
