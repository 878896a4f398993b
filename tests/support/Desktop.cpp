#include "tests/support/Desktop.h"

#include "platform/ParentDeath.h"

#include <QColor>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QThread>

#include <cstdlib>
#include <memory>
#include <xcb/composite.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto startLimit = 60s; // a loaded machine starts slowly, and only a broken one waits this long

template<class T>
std::unique_ptr<T, decltype(&std::free)> reply(T *answer)
{
    return {answer, &std::free};
}

constexpr char panelConfiguration[] = "panel_items = TS\n"
                                      "panel_position = bottom center horizontal\n"
                                      "panel_size = 100% 30\n"
                                      "panel_monitor = primary\n"
                                      "wm_menu = 0\n"
                                      "rounded = 0\n"
                                      "border_width = 0\n"
                                      "background_color = #303030 100\n"
                                      "panel_background_id = 1\n"
                                      "systray_padding = 4 2 4\n"
                                      "systray_icon_size = 22\n";

} // namespace

Desktop::Desktop()
    : Desktop(Options())
{
}

Desktop::Desktop(const Options &options)
{
    const QString screen =
        QStringLiteral("%1x%2x%3").arg(options.size.width()).arg(options.size.height()).arg(options.depth);
    // -noreset: without it the server forgets monitors and resources whenever its last client leaves.
    QProcess &server =
        launch(QStringLiteral("Xvfb"), {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-noreset"),
                                        QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-screen"),
                                        QStringLiteral("0"), screen});
    m_display = u':' + QString::fromLatin1(firstLine(server, "Xvfb"));
    m_connection = xcb_connect(m_display.toLatin1().constData(), nullptr);
    if (xcb_connection_has_error(m_connection))
        qFatal("no connection to display %s", qPrintable(m_display));
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;

    const uint32_t wallpaper = 0x3d6a94; // neither black nor white: what is dimmed or painted on it is seen
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_BACK_PIXEL, &wallpaper);
    xcb_clear_area(m_connection, 0, m_root, 0, 0, 0, 0);

    QProcess &bus = launch(QStringLiteral("dbus-daemon"),
                           {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                            QStringLiteral("--print-address=1"),
                            QStringLiteral("--address=unix:path=") + m_home.file(QStringLiteral(".run/bus"))});
    m_busAddress = QString::fromLatin1(firstLine(bus, "dbus-daemon"));

    setMonitors(options.monitors);
    if (options.windowManager)
        startWindowManager();
    if (options.panel) {
        m_home.write(QStringLiteral(".config/tint2/tint2rc"), panelConfiguration);
        launch(QStringLiteral("tint2"), {});
        awaitReady("tint2", [this] { return selectionOwner("_NET_SYSTEM_TRAY_S0") != 0; });
    }
    if (options.compositor)
        startCompositor();
}

Desktop::~Desktop()
{
    if (m_connection)
        xcb_disconnect(m_connection);
    while (!m_processes.empty()) {
        QProcess &process = *m_processes.back();
        process.terminate();
        if (process.state() != QProcess::NotRunning && !process.waitForFinished(10'000)) {
            process.kill();
            process.waitForFinished();
        }
        m_processes.pop_back();
    }
}

QProcessEnvironment Desktop::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The test itself may run without a display, and its settings for that are not the programs'.
    for (const char *variable : {"QT_QPA_PLATFORM", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "WAYLAND_DISPLAY"})
        environment.remove(QString::fromLatin1(variable));
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_busAddress);
    environment.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("openbox"));
    return environment;
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

QProcess &Desktop::start(const QString &program, const QStringList &arguments, const QStringList &extraEnvironment)
{
    return launch(program, arguments, extraEnvironment);
}

void Desktop::startWindowManager()
{
    m_windowManager = &launch(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
    awaitReady("openbox", [this] { return !property(m_root, "_NET_SUPPORTING_WM_CHECK").isEmpty(); });
}

void Desktop::stopWindowManager()
{
    m_windowManager->kill();
    m_windowManager->waitForFinished();
}

void Desktop::startCompositor()
{
    m_home.write(QStringLiteral(".config/picom.conf"), "backend = \"xrender\";\nfading = false;\nshadow = false;\n");
    m_compositor = &launch(QStringLiteral("picom"),
                           {QStringLiteral("--config"), m_home.file(QStringLiteral(".config/picom.conf"))});
    // It takes the selection before it takes the windows' pixels: a window of our own tells when it has those.
    const xcb_window_t window = xcb_generate_id(m_connection);
    const uint32_t passesTheManager = 1;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &passesTheManager);
    xcb_map_window(m_connection, window);
    awaitReady("picom", [this, window] {
        const xcb_pixmap_t pixels = xcb_generate_id(m_connection);
        const auto error = reply(
            xcb_request_check(m_connection, xcb_composite_name_window_pixmap_checked(m_connection, window, pixels)));
        return !error && selectionOwner("_NET_WM_CM_S0") != 0;
    });
    xcb_destroy_window(m_connection, window);
}

void Desktop::stopCompositor()
{
    m_compositor->terminate();
    m_compositor->waitForFinished();
    awaitReady("the end of picom", [this] { return selectionOwner("_NET_WM_CM_S0") == 0; });
}

void Desktop::setMonitors(const QList<QRect> &monitors)
{
    for (int i = 0; i < m_monitorCount; ++i)
        run(QStringLiteral("xrandr"), {QStringLiteral("--delmonitor"), QStringLiteral("M%1").arg(i)});
    for (int i = 0; i < monitors.size(); ++i) {
        const QRect &area = monitors[i];
        const QString geometry = QStringLiteral("%1/%2x%3/%4+%5+%6")
                                     .arg(area.width())
                                     .arg(area.width() / 4)
                                     .arg(area.height())
                                     .arg(area.height() / 4)
                                     .arg(area.x())
                                     .arg(area.y());
        run(QStringLiteral("xrandr"), {QStringLiteral("--setmonitor"), QStringLiteral("M%1").arg(i), geometry,
                                       i == 0 ? QStringLiteral("screen") : QStringLiteral("none")});
    }
    m_monitorCount = int(monitors.size());
}

void Desktop::setResource(const QByteArray &resources)
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 8,
                        uint32_t(resources.size()), resources.constData());
    reply(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

void Desktop::keyDown(Key key)
{
    m_keysDown.append(int(key));
    fakeInput(XCB_KEY_PRESS, int(key));
}

void Desktop::keyUp(Key key)
{
    m_keysDown.removeAll(int(key));
    fakeInput(XCB_KEY_RELEASE, int(key));
}

void Desktop::tap(Key key)
{
    keyDown(key);
    keyUp(key);
}

void Desktop::movePointer(QPoint to)
{
    fakeInput(XCB_MOTION_NOTIFY, 0, to);
}

void Desktop::buttonDown(Button button)
{
    m_buttonsDown.append(int(button));
    fakeInput(XCB_BUTTON_PRESS, int(button));
}

void Desktop::buttonUp(Button button)
{
    m_buttonsDown.removeAll(int(button));
    fakeInput(XCB_BUTTON_RELEASE, int(button));
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

void Desktop::releaseInput()
{
    while (!m_buttonsDown.isEmpty())
        buttonUp(Button(m_buttonsDown.last()));
    while (!m_keysDown.isEmpty())
        keyUp(Key(m_keysDown.last()));
}

QPoint Desktop::pointer() const
{
    const auto answer = reply(xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, m_root), nullptr));
    return answer ? QPoint(answer->root_x, answer->root_y) : QPoint();
}

QImage Desktop::picture(const QRect &area) const
{
    const auto *screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    const QRect whole(0, 0, screen->width_in_pixels, screen->height_in_pixels);
    const QRect part = area.isNull() ? whole : area & whole;
    const auto image = reply(
        xcb_get_image_reply(m_connection,
                            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, int16_t(part.x()),
                                          int16_t(part.y()), uint16_t(part.width()), uint16_t(part.height()), ~0u),
                            nullptr));
    return image ? QImage(xcb_get_image_data(image.get()), part.width(), part.height(), QImage::Format_RGB32).copy()
                 : QImage();
}

QImage Desktop::stillPicture() const
{
    QImage still = picture();
    QElapsedTimer sinceChange;
    sinceChange.start();
    const bool rests = wait([&] {
        QImage now = picture();
        if (now != still) {
            still = std::move(now);
            sinceChange.start();
        }
        return sinceChange.hasExpired(100);
    });
    return rests ? still : QImage();
}

QColor Desktop::pixel(QPoint at) const
{
    return picture({at, QSize(1, 1)}).pixelColor(0, 0);
}

QList<Desktop::Window> Desktop::windows() const
{
    const QByteArray list = property(m_root, "_NET_CLIENT_LIST_STACKING");
    const auto *ids = reinterpret_cast<const quint32 *>(list.constData());
    QList<Window> found;
    for (qsizetype i = 0; i < list.size() / 4; ++i) {
        const auto size = reply(xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, ids[i]), nullptr));
        const auto place = reply(xcb_translate_coordinates_reply(
            m_connection, xcb_translate_coordinates(m_connection, ids[i], m_root, 0, 0), nullptr));
        if (!size || !place)
            continue; // closed meanwhile
        Window window;
        window.id = ids[i];
        window.title = QString::fromUtf8(property(ids[i], "_NET_WM_NAME"));
        if (window.title.isEmpty())
            window.title = QString::fromLatin1(property(ids[i], "WM_NAME"));
        window.content = QRect(place->dst_x, place->dst_y, size->width, size->height);
        window.frame = window.content;
        const QByteArray extents = property(ids[i], "_NET_FRAME_EXTENTS");
        if (extents.size() == 16) {
            const auto *edges = reinterpret_cast<const quint32 *>(extents.constData()); // left, right, top, bottom
            window.frame.adjust(-int(edges[0]), -int(edges[2]), int(edges[1]), int(edges[3]));
        }
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
    const auto answer = reply(
        xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, atom(selection)), nullptr));
    return answer ? answer->owner : 0;
}

QStringList Desktop::clipboardTypes()
{
    const QByteArray types = clipboard(QStringLiteral("TARGETS"));
    return QString::fromLatin1(types).split(u'\n', Qt::SkipEmptyParts);
}

QByteArray Desktop::clipboard(const QString &mimeType)
{
    return run(QStringLiteral("xclip"), {QStringLiteral("-selection"), QStringLiteral("clipboard"),
                                         QStringLiteral("-out"), QStringLiteral("-target"), mimeType});
}

QProcess &Desktop::launch(const QString &program, const QStringList &arguments, const QStringList &extraEnvironment)
{
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment values = environment();
    for (const QString &assignment : extraEnvironment)
        values.insert(assignment.section(u'=', 0, 0), assignment.section(u'=', 1));
    process->setProcessEnvironment(values);
    process->setProgram(program);
    process->setArguments(arguments);
    process->setStandardInputFile(QProcess::nullDevice());
    process->setChildProcessModifier(endWithParent);
    process->start();
    if (!process->waitForStarted(int(std::chrono::milliseconds(startLimit).count())))
        qFatal("cannot start %s: %s", qPrintable(program), qPrintable(process->errorString()));
    m_processes.push_back(std::move(process));
    return *m_processes.back();
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

void Desktop::fakeInput(int type, int detail, QPoint at)
{
    xcb_test_fake_input(m_connection, uint8_t(type), uint8_t(detail), XCB_CURRENT_TIME, m_root, int16_t(at.x()),
                        int16_t(at.y()), 0);
    reply(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

QByteArray Desktop::run(const QString &program, const QStringList &arguments)
{
    QProcess &process = launch(program, arguments);
    process.closeReadChannel(QProcess::StandardError);
    // The owner of the clipboard may be this process, which then has to answer.
    wait([&] { return process.state() == QProcess::NotRunning; });
    const QByteArray output = process.readAllStandardOutput();
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
    m_processes.pop_back();
    return output;
}

quint32 Desktop::atom(const char *name) const
{
    const auto answer = reply(
        xcb_intern_atom_reply(m_connection, xcb_intern_atom(m_connection, 0, uint16_t(qstrlen(name)), name), nullptr));
    return answer ? answer->atom : 0;
}

QByteArray Desktop::property(quint32 window, const char *name) const
{
    const auto answer = reply(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, atom(name), XCB_ATOM_ANY, 0, 1 << 16), nullptr));
    if (!answer)
        return {};
    return QByteArray(static_cast<const char *>(xcb_get_property_value(answer.get())),
                      xcb_get_property_value_length(answer.get()));
}

} // namespace qm
