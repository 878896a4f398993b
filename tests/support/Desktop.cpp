#include "tests/support/Desktop.h"

#include "platform/ParentDeath.h"

#include <QColor>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QThread>

#include <csignal>
#include <xcb/composite.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

using namespace Qt::StringLiterals;

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto startLimit = 60s; // a loaded machine starts slowly, and only a broken one waits this long

constexpr char panelConfiguration[] =
    "panel_items = TS\npanel_position = bottom center horizontal\npanel_size = 100% 30\npanel_monitor = primary\n"
    "wm_menu = 0\nrounded = 0\nborder_width = 0\nbackground_color = #303030 100\npanel_background_id = 1\n"
    "systray_padding = 4 2 4\nsystray_icon_size = 22\n";

} // namespace

Desktop::Desktop()
    : Desktop(Options())
{
}

Desktop::Desktop(const Options &options)
{
    const QString screen = u"%1x%2x%3"_s.arg(options.size.width()).arg(options.size.height()).arg(options.depth);
    // -noreset: without it the server forgets monitors and resources whenever its last client leaves.
    QProcess &server = start(u"Xvfb"_s, QStringList{u"-displayfd"_s, u"1"_s, u"-noreset"_s, u"-nolisten"_s, u"tcp"_s,
                                                    u"-screen"_s, u"0"_s, screen} +
                                            options.server);
    m_display = u':' + QString::fromLatin1(firstLine(server, "Xvfb"));
    m_connection = xcb_connect(m_display.toLatin1().constData(), nullptr);
    if (xcb_connection_has_error(m_connection))
        qFatal("no connection to display %s", qPrintable(m_display));
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;

    const uint32_t wallpaper = 0x3d6a94; // neither black nor white: what is dimmed or painted on it is seen
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_BACK_PIXEL, &wallpaper);
    xcb_clear_area(m_connection, 0, m_root, 0, 0, 0, 0);
    ask(xcb_get_input_focus_reply, xcb_get_input_focus(m_connection)); // done before a program can paint over it

    QProcess &bus = start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--nopidfile"_s, u"--print-address=1"_s,
                                             u"--address=unix:path="_s + m_home.file(u".run/bus"_s)});
    m_busAddress = QString::fromLatin1(firstLine(bus, "dbus-daemon"));
    m_bus = &bus;

    for (int i = 0; i < options.monitors.size(); ++i) {
        const QRect &area = options.monitors[i];
        const int width = area.width(), height = area.height(); // and four pixels a millimetre
        const QString place =
            QString::asprintf("%d/%dx%d/%d+%d+%d", width, width / 4, height, height / 4, area.x(), area.y());
        run(u"xrandr"_s, {u"--setmonitor"_s, u"M%1"_s.arg(i), place, i == 0 ? u"screen"_s : u"none"_s});
    }
    if (options.windowManager)
        startWindowManager();
    if (options.panel) {
        m_home.write(u".config/tint2/tint2rc"_s, panelConfiguration);
        start(u"tint2"_s, {});
        awaitReady("tint2", [this] { return selectionOwner("_NET_SYSTEM_TRAY_S0") != 0; });
    }
    if (options.compositor)
        startCompositor();
}

Desktop::~Desktop()
{
    if (m_connection)
        xcb_disconnect(m_connection);
    end(m_processes);
}

void Desktop::end(std::vector<std::unique_ptr<QProcess>> &processes)
{
    while (!processes.empty()) {
        QProcess &process = *processes.back();
        process.terminate();
        if (process.state() != QProcess::NotRunning && !process.waitForFinished(10'000)) {
            process.kill();
            process.waitForFinished();
        }
        processes.pop_back();
    }
}

bool Desktop::wait(const std::function<bool()> &condition, std::chrono::milliseconds limit)
{
    const QDeadlineTimer deadline(limit);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents();
        QThread::msleep(3);
    }
    return true;
}

bool Desktop::ended(const QProcess &process)
{
    return wait([&process] { return process.state() == QProcess::NotRunning; }, 60s);
}

QProcess &Desktop::start(const QString &program, const QStringList &arguments, const QStringList &extraEnvironment)
{
    QProcessEnvironment values = QProcessEnvironment::systemEnvironment();
    // The test itself may run without a display, and its settings for that are not the programs'.
    for (const char *variable : {"QT_QPA_PLATFORM", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "WAYLAND_DISPLAY"})
        values.remove(QString::fromLatin1(variable));
    values.insert(u"DISPLAY"_s, m_display);
    values.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, m_busAddress);
    values.insert(u"XDG_CURRENT_DESKTOP"_s, u"openbox"_s);
    for (const QString &assignment : extraEnvironment)
        values.insert(assignment.section(u'=', 0, 0), assignment.section(u'=', 1));

    QProcess &process = *m_processes.emplace_back(std::make_unique<QProcess>());
    process.setProcessEnvironment(values);
    process.setProgram(program);
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setChildProcessModifier(endWithParent);
    process.start();
    if (!process.waitForStarted(int(std::chrono::milliseconds(startLimit).count())))
        qFatal("cannot start %s: %s", qPrintable(program), qPrintable(process.errorString()));
    return process;
}

QProcess &Desktop::startOnFullDisk(const QString &program, const QStringList &arguments)
{
    const QString limited = u"ulimit -f 32; exec \"$0\" \"$@\""_s; // blocks of 512 bytes
    return start(u"/bin/sh"_s, QStringList{u"-c"_s, limited, program} + arguments);
}

// A small window to see by whether the others are ready.
quint32 Desktop::makeProbe(bool passesTheManager)
{
    const xcb_window_t window = xcb_generate_id(m_connection);
    const uint32_t value = passesTheManager;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &value);
    xcb_map_window(m_connection, window);
    return window;
}

// It says that it is there before it listens, and a window that is mapped in between is lost.
void Desktop::startWindowManager()
{
    m_windowManager = &start(u"openbox"_s, {u"--sm-disable"_s});
    const xcb_window_t probe = makeProbe(false);
    awaitReady("openbox", [this, probe] {
        xcb_unmap_window(m_connection, probe);
        xcb_map_window(m_connection, probe);
        return wait([this] { return !windows().isEmpty(); }, 300ms);
    });
    xcb_destroy_window(m_connection, probe);
    awaitReady("openbox", [this] { return windows().isEmpty(); });
}

void Desktop::stopWindowManager()
{
    m_windowManager->kill();
    m_windowManager->waitForFinished();
}

void Desktop::stopSessionBus()
{
    m_bus->kill();
    m_bus->waitForFinished();
}

void Desktop::holdSessionBus(bool held)
{
    ::kill(pid_t(m_bus->processId()), held ? SIGSTOP : SIGCONT);
}

// It takes the selection before it takes the windows' pixels.
void Desktop::startCompositor()
{
    m_home.write(u".config/picom.conf"_s, "backend = \"xrender\";\nfading = false;\nshadow = false;\n");
    start(u"picom"_s, {});
    const xcb_window_t probe = makeProbe(true);
    awaitReady("picom", [this, probe] {
        const xcb_pixmap_t pixels = xcb_generate_id(m_connection);
        const std::unique_ptr<xcb_generic_error_t, FreeDeleter> error(
            xcb_request_check(m_connection, xcb_composite_name_window_pixmap_checked(m_connection, probe, pixels)));
        return !error && selectionOwner("_NET_WM_CM_S0") != 0;
    });
    xcb_destroy_window(m_connection, probe);
}

void Desktop::setResource(const QByteArray &resources)
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 8,
                        uint32_t(resources.size()), resources.constData());
    ask(xcb_get_input_focus_reply, xcb_get_input_focus(m_connection));
}

void Desktop::click(QPoint at, Button button)
{
    movePointer(at);
    buttonDown(button);
    buttonUp(button);
}

void Desktop::drag(QPoint from, QPoint to)
{
    movePointer(from);
    buttonDown();
    constexpr int steps = 8;
    for (int i = 1; i <= steps; ++i)
        movePointer(from + (to - from) * i / steps);
    buttonUp();
}

// How many of keyboard and pointer no other program has; they are ours for that moment, or for longer.
int Desktop::grab(bool keep) const
{
    const auto pointer =
        ask(xcb_grab_pointer_reply, xcb_grab_pointer(m_connection, 0, m_root, 0, XCB_GRAB_MODE_ASYNC,
                                                     XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME));
    const auto keyboard = ask(xcb_grab_keyboard_reply, xcb_grab_keyboard(m_connection, 0, m_root, XCB_CURRENT_TIME,
                                                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    if (!keep) {
        xcb_ungrab_pointer(m_connection, XCB_CURRENT_TIME);
        xcb_ungrab_keyboard(m_connection, XCB_CURRENT_TIME);
        xcb_flush(m_connection);
    }
    return int(pointer && pointer->status == XCB_GRAB_STATUS_SUCCESS) +
           int(keyboard && keyboard->status == XCB_GRAB_STATUS_SUCCESS);
}

void Desktop::releaseInput()
{
    grab(false);
    while (!m_down.isEmpty())
        fakeInput(m_down.last().first + 1, m_down.last().second);
}

bool Desktop::inputIsFree() const
{
    const auto state = ask(xcb_query_pointer_reply, xcb_query_pointer(m_connection, m_root));
    return grab(false) == 2 && state && (state->mask & 0x1f00) == 0;
}

bool Desktop::overlayIsUp() const
{
    return wait([this] { return selectionOwner("_QUILLMERE_CAPTURE") != 0 && grab(false) == 0; });
}

bool Desktop::overlayIsGone() const
{
    return wait([this] { return selectionOwner("_QUILLMERE_CAPTURE") == 0 && inputIsFree(); });
}

QPoint Desktop::pointer() const
{
    const auto answer = ask(xcb_query_pointer_reply, xcb_query_pointer(m_connection, m_root));
    return answer ? QPoint(answer->root_x, answer->root_y) : QPoint();
}

QImage Desktop::picture(const QRect &area) const
{
    const auto *screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    const QRect whole(0, 0, screen->width_in_pixels, screen->height_in_pixels);
    const QRect part = area.isNull() ? whole : area & whole;
    const auto image = ask(xcb_get_image_reply,
                           xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, int16_t(part.x()),
                                         int16_t(part.y()), uint16_t(part.width()), uint16_t(part.height()), ~0u));
    return image ? QImage(xcb_get_image_data(image.get()), part.width(), part.height(), QImage::Format_RGB32).copy()
                 : QImage();
}

QImage Desktop::stillPicture() const
{
    QImage still;
    QElapsedTimer sinceChange;
    const bool rests = wait([&] {
        if (const QImage now = picture(); now != still) {
            still = now;
            sinceChange.start();
        }
        return sinceChange.hasExpired(100);
    });
    return rests ? still : QImage();
}

bool Desktop::shows(const QImage &expected, QPoint at) const
{
    return wait([&] { return picture({at, expected.size()}) == expected; });
}

bool Desktop::shows(QRgb color, QPoint at) const
{
    return wait([&] { return pixel(at).rgb() == color; });
}

QRect Desktop::find(QRgb color) const
{
    constexpr int side = 5;
    const QImage shown = picture();
    const auto is = [&](int x, int y) { return shown.pixel(x, y) == color; };
    QRect found;
    for (int y = 0; y + side <= shown.height(); ++y) {
        for (int x = 0; x + side <= shown.width(); ++x) {
            const int last = side - 1;
            if (is(x, y) && is(x + last, y) && is(x, y + last) && is(x + last, y + last) && is(x + 2, y + 2))
                found |= QRect(x, y, side, side);
        }
    }
    return found;
}

QList<Desktop::Window> Desktop::windows() const
{
    const QByteArray list = property(m_root, "_NET_CLIENT_LIST_STACKING");
    const auto *ids = reinterpret_cast<const quint32 *>(list.constData());
    QList<Window> found;
    for (qsizetype i = 0; i < list.size() / 4; ++i) {
        const auto size = ask(xcb_get_geometry_reply, xcb_get_geometry(m_connection, ids[i]));
        const auto place =
            ask(xcb_translate_coordinates_reply, xcb_translate_coordinates(m_connection, ids[i], m_root, 0, 0));
        if (!size || !place)
            continue; // closed meanwhile
        Window window{ids[i], QString::fromUtf8(property(ids[i], "_NET_WM_NAME")),
                      QRect(place->dst_x, place->dst_y, size->width, size->height)};
        window.frame = window.content;
        const QByteArray extents = property(ids[i], "_NET_FRAME_EXTENTS");
        const auto *edges = reinterpret_cast<const qint32 *>(extents.constData()); // left, right, top, bottom
        if (extents.size() == 16)
            window.frame += QMargins(edges[0], edges[2], edges[1], edges[3]);
        found.append(window);
    }
    return found;
}

std::optional<Desktop::Window> Desktop::windowTitled(const QString &title) const
{
    for (const Window &window : windows()) {
        if (window.title == title)
            return window;
    }
    return {};
}

quint32 Desktop::selectionOwner(const char *selection) const
{
    const auto answer = ask(xcb_get_selection_owner_reply, xcb_get_selection_owner(m_connection, atom(selection)));
    return answer ? answer->owner : 0;
}

void Desktop::cutOff(quint32 window)
{
    xcb_kill_client(m_connection, window);
    xcb_flush(m_connection);
}

QStringList Desktop::clipboardTypes()
{
    return QString::fromLatin1(clipboard(u"TARGETS"_s)).split(u'\n', Qt::SkipEmptyParts);
}

QByteArray Desktop::clipboard(const QString &mimeType)
{
    return run(u"xclip"_s, {u"-selection"_s, u"clipboard"_s, u"-out"_s, u"-target"_s, mimeType});
}

void Desktop::awaitReady(const char *what, const std::function<bool()> &ready) const
{
    if (!wait(ready, startLimit))
        qFatal("%s is not ready", what);
}

QByteArray Desktop::firstLine(QProcess &process, const char *what) const
{
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(int(std::chrono::milliseconds(startLimit).count())))
            qFatal("%s says nothing: %s", what, process.readAllStandardError().constData());
    }
    return process.readLine().trimmed();
}

// detail: the key or button; a release is the type after its press.
void Desktop::fakeInput(int type, int detail, QPoint at)
{
    if (type == XCB_KEY_PRESS || type == XCB_BUTTON_PRESS)
        m_down.append({type, detail});
    else
        m_down.removeAll({type - 1, detail});
    xcb_test_fake_input(m_connection, uint8_t(type), uint8_t(detail), XCB_CURRENT_TIME, m_root, int16_t(at.x()),
                        int16_t(at.y()), 0);
    ask(xcb_get_input_focus_reply, xcb_get_input_focus(m_connection));
}

QByteArray Desktop::run(const QString &program, const QStringList &arguments)
{
    QProcess &process = start(program, arguments);
    process.closeReadChannel(QProcess::StandardError);
    // The owner of the clipboard may be this process, which then has to answer.
    if (!ended(process)) {
        process.kill();
        process.waitForFinished();
    }
    const QByteArray output = process.readAllStandardOutput();
    m_processes.pop_back();
    return output;
}

quint32 Desktop::atom(const char *name) const
{
    const auto answer = ask(xcb_intern_atom_reply, xcb_intern_atom(m_connection, 0, uint16_t(qstrlen(name)), name));
    return answer ? answer->atom : 0;
}

QByteArray Desktop::property(quint32 window, const char *name) const
{
    const auto answer =
        ask(xcb_get_property_reply, xcb_get_property(m_connection, 0, window, atom(name), XCB_ATOM_ANY, 0, 1 << 16));
    if (!answer)
        return {};
    return QByteArray(static_cast<const char *>(xcb_get_property_value(answer.get())),
                      xcb_get_property_value_length(answer.get()));
}

} // namespace qm
