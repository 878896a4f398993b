#include "tests/support/SwayDesktop.h"

#include "platform/ParentDeath.h"
#include "platform/wayland/WaylandServer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <cstring>
#include <linux/input-event-codes.h>
#include <protocol/viewporter.h>
#include <protocol/virtual-keyboard.h>
#include <protocol/virtual-pointer.h>
#include <protocol/xdg-activation.h>
#include <protocol/xdg-shell.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wayland-client-protocol.h>
#include <xkbcommon/xkbcommon.h>

using namespace Qt::StringLiterals;

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto limit = 20s; // a loaded machine starts slowly, and only a broken one waits this long
constexpr uid_t nobody = 65534;

int sharedFile(const void *content, size_t size)
{
    const int file = memfd_create("quillmere-test", MFD_CLOEXEC);
    if (file < 0 || write(file, content, size) != ssize_t(size))
        qFatal("no shared memory");
    return file;
}

} // namespace

struct SwayDesktop::Window {
    Page page;
    wl_surface *surface;
    xdg_surface *shell;
    xdg_toplevel *toplevel;
    wl_shm_pool *pixels = nullptr; // of the whole page
    bool isConfigured = false;

    void show() const
    {
        wl_buffer *buffer =
            wl_shm_pool_create_buffer(pixels, int32_t(page.offset * page.content.bytesPerLine()), page.seen.width(),
                                      page.seen.height(), int32_t(page.content.bytesPerLine()), WL_SHM_FORMAT_XRGB8888);
        static constexpr wl_buffer_listener listener = {
            .release = [](void *, wl_buffer *read) { wl_buffer_destroy(read); },
        };
        wl_buffer_add_listener(buffer, &listener, nullptr);
        wl_surface_attach(surface, buffer, 0, 0);
        wl_surface_damage_buffer(surface, 0, 0, page.seen.width(), page.seen.height());
        wl_surface_commit(surface);
    }
};

SwayDesktop::SwayDesktop(const QList<Output> &outputs)
{
    QByteArray configuration = "xwayland disable\ndefault_border none\ndefault_floating_border none\n"
                               "focus_follows_mouse no\nseat seat0 fallback true\n";
    for (qsizetype i = 0; i < outputs.size(); ++i) {
        const Output &output = outputs[i];
        configuration +=
            u"output HEADLESS-%1 resolution %2x%3 position %4 %5 scale %6 transform %7 bg #3d6a94 solid_color\n"_s
                .arg(i + 1)
                .arg(output.pixels.width())
                .arg(output.pixels.height())
                .arg(output.at.x())
                .arg(output.at.y())
                .arg(output.scale)
                .arg(QLatin1StringView(output.transform))
                .toUtf8();
        const bool isTurned =
            QByteArrayView(output.transform).endsWith("90") || QByteArrayView(output.transform).endsWith("270");
        const QSize upright = isTurned ? output.pixels.transposed() : output.pixels;
        m_extent |= QRect(output.at, QSizeF(upright / output.scale).toSize());
    }
    m_home.write(u"sway.conf"_s, configuration);
    const QByteArray folder = m_runtime.path().toUtf8();
    if (geteuid() == 0 &&
        (chown(folder.constData(), nobody, nobody) != 0 || chmod(m_home.path().toUtf8().constData(), 0755) != 0))
        qFatal("cannot give %s away", folder.constData());

    qputenv("SWAYSOCK", folder + "/sway");
    auto sway = std::make_unique<QProcess>();
    QProcessEnvironment values = QProcessEnvironment::systemEnvironment();
    for (const auto &[name, value] : {std::pair(u"XDG_RUNTIME_DIR"_s, m_runtime.path()),
                                      {u"WLR_BACKENDS"_s, u"headless"_s},
                                      {u"WLR_RENDERER"_s, u"pixman"_s},
                                      {u"WLR_LIBINPUT_NO_DEVICES"_s, u"1"_s},
                                      {u"WLR_HEADLESS_OUTPUTS"_s, QString::number(outputs.size())}})
        values.insert(name, value);
    sway->setProcessEnvironment(values);
    start(*sway, u"sway"_s, {u"-c"_s, m_home.file(u"sway.conf"_s)}, true);
    m_processes.push_back(std::move(sway));

    // It names its socket itself, which need not be the first.
    const auto socket = [this] {
        const QStringList found = QDir(m_runtime.path()).entryList({u"wayland-?"_s}, QDir::System | QDir::Hidden);
        return found.isEmpty() ? QString() : m_runtime.filePath(found.first());
    };
    if (!Desktop::wait([&] { return !socket().isEmpty() && QFile::exists(m_runtime.filePath(u"sway"_s)); }, limit))
        qFatal("sway does not start: %s", m_processes.back()->readAllStandardError().constData());
    qputenv("WAYLAND_DISPLAY", socket().toUtf8());
    m_server = WaylandServer::connect();
    if (!m_server)
        qFatal("no connection to sway");

    auto *seat = m_server->bind<wl_seat>(wl_seat_interface, 5);
    auto *pointers = m_server->bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface, 1);
    auto *keyboards = m_server->bind<zwp_virtual_keyboard_manager_v1>(zwp_virtual_keyboard_manager_v1_interface, 1);
    if (!seat || !pointers || !keyboards)
        qFatal("sway has no virtual input");
    m_pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(pointers, seat);
    m_keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(keyboards, seat);
    xkb_context *context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names layout = {
        .rules = nullptr, .model = nullptr, .layout = "us", .variant = nullptr, .options = nullptr};
    xkb_keymap *keymap = xkb_keymap_new_from_names(context, &layout, XKB_KEYMAP_COMPILE_NO_FLAGS);
    m_keys = xkb_state_new(keymap);
    char *text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    const int file = sharedFile(text, std::strlen(text) + 1);
    zwp_virtual_keyboard_v1_keymap(m_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file, quint32(std::strlen(text) + 1));
    m_server->roundTrip();
    close(file);
    std::free(text);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    listenToPointer(seat);
    m_events = std::make_unique<QSocketNotifier>(m_server->descriptor(), QSocketNotifier::Read);
    QObject::connect(m_events.get(), &QSocketNotifier::activated, m_events.get(), [this] {
        if (!m_server->dispatch(0ms))
            m_events->setEnabled(false);
        wl_display_flush(m_server->get());
    });
}

SwayDesktop::~SwayDesktop()
{
    xkb_state_unref(m_keys);
    m_events.reset();
    m_server.reset();
    Desktop::end(m_processes);
}

void SwayDesktop::start(QProcess &process, const QString &program, const QStringList &arguments, bool asOrdinaryUser)
{
    process.setProgram(program);
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setChildProcessModifier([asOrdinaryUser] {
        if (asOrdinaryUser && geteuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0))
            _exit(127);
        endWithParent();
    });
    process.start();
    if (!process.waitForStarted(int(std::chrono::milliseconds(limit).count())))
        qFatal("cannot start %s: %s", qPrintable(program), qPrintable(process.errorString()));
}

QProcess &SwayDesktop::start(const QString &program, const QStringList &arguments, const QStringList &extraEnvironment)
{
    QProcessEnvironment values = QProcessEnvironment::systemEnvironment();
    for (const char *variable : {"QT_QPA_PLATFORM", "DISPLAY"})
        values.remove(QString::fromLatin1(variable));
    for (const QString &assignment : extraEnvironment)
        values.insert(assignment.section(u'=', 0, 0), assignment.section(u'=', 1));
    QProcess &process = *m_processes.emplace_back(std::make_unique<QProcess>());
    process.setProcessEnvironment(values);
    start(process, program, arguments, false);
    return process;
}

QByteArray SwayDesktop::run(const QString &program, const QStringList &arguments)
{
    QProcess &process = start(program, arguments);
    if (!Desktop::ended(process))
        qFatal("%s does not end", qPrintable(program));
    const QByteArray said = process.readAllStandardOutput();
    m_processes.pop_back();
    return said;
}

void SwayDesktop::command(const QString &words)
{
    run(u"swaymsg"_s, {u"--"_s, words});
}

void SwayDesktop::stop()
{
    m_processes.front()->kill();
    m_processes.front()->waitForFinished();
}

bool SwayDesktop::wait(const std::function<bool()> &condition)
{
    return Desktop::wait(
        [&] {
            m_server->dispatch(0ms);
            return condition();
        },
        limit);
}

void SwayDesktop::movePointer(QPoint to)
{
    const QPoint within = to - m_extent.topLeft();
    zwlr_virtual_pointer_v1_motion_absolute(m_pointer, ++m_time, quint32(within.x()), quint32(within.y()),
                                            quint32(m_extent.width()), quint32(m_extent.height()));
    zwlr_virtual_pointer_v1_frame(m_pointer);
    m_server->roundTrip();
}

void SwayDesktop::button(bool isDown)
{
    zwlr_virtual_pointer_v1_button(m_pointer, ++m_time, BTN_LEFT, isDown);
    zwlr_virtual_pointer_v1_frame(m_pointer);
    m_server->roundTrip();
}

void SwayDesktop::drag(QPoint from, QPoint to)
{
    movePointer(from);
    buttonDown();
    for (int step = 1; step <= 4; ++step)
        movePointer(from + (to - from) * step / 4);
    buttonUp();
}

void SwayDesktop::key(Key key, bool isDown)
{
    xkb_state_update_key(m_keys, xkb_keycode_t(key), isDown ? XKB_KEY_DOWN : XKB_KEY_UP);
    zwp_virtual_keyboard_v1_key(m_keyboard, ++m_time, quint32(key) - 8, isDown); // X's codes begin at 8
    zwp_virtual_keyboard_v1_modifiers(m_keyboard, xkb_state_serialize_mods(m_keys, XKB_STATE_MODS_DEPRESSED),
                                      xkb_state_serialize_mods(m_keys, XKB_STATE_MODS_LATCHED),
                                      xkb_state_serialize_mods(m_keys, XKB_STATE_MODS_LOCKED), 0);
    m_server->roundTrip();
}

const SwayDesktop::Page &SwayDesktop::showPage(const QString &title, const Page &page, QPoint at)
{
    auto *compositor = m_server->bind<wl_compositor>(wl_compositor_interface, 4);
    auto *shm = m_server->bind<wl_shm>(wl_shm_interface, 1);
    auto *shell = m_server->bind<xdg_wm_base>(xdg_wm_base_interface, 1);
    static constexpr xdg_wm_base_listener pings = {
        .ping = [](void *, xdg_wm_base *base, uint32_t serial) { xdg_wm_base_pong(base, serial); },
    };
    xdg_wm_base_add_listener(shell, &pings, nullptr);
    Window &window = *m_windows.emplace_back(std::make_unique<Window>());
    window.page = page;
    window.surface = wl_compositor_create_surface(compositor);
    window.shell = xdg_wm_base_get_xdg_surface(shell, window.surface);
    static constexpr xdg_surface_listener listener = {
        .configure =
            [](void *self, xdg_surface *surface, uint32_t serial) {
                xdg_surface_ack_configure(surface, serial);
                static_cast<Window *>(self)->isConfigured = true;
            },
    };
    xdg_surface_add_listener(window.shell, &listener, &window);
    window.toplevel = xdg_surface_get_toplevel(window.shell);
    xdg_toplevel_set_title(window.toplevel, title.toUtf8().constData());
    // Of one size only: sway lets such windows float.
    const QSize points = (QSizeF(page.seen) / page.scale).toSize();
    xdg_toplevel_set_min_size(window.toplevel, points.width(), points.height());
    xdg_toplevel_set_max_size(window.toplevel, points.width(), points.height());
    auto *viewporter = m_server->bind<wp_viewporter>(wp_viewporter_interface, 1);
    wp_viewport_set_destination(wp_viewporter_get_viewport(viewporter, window.surface), points.width(),
                                points.height());
    wl_surface_commit(window.surface);
    if (!wait([&] { return window.isConfigured; }))
        qFatal("sway shows no window");

    const QImage &content = page.content;
    const int file = sharedFile(content.constBits(), size_t(content.sizeInBytes()));
    window.pixels = wl_shm_create_pool(shm, file, int32_t(content.sizeInBytes()));
    close(file);
    window.show();
    m_server->roundTrip();
    command(u"[title=\"%1\"] move absolute position %2 %3"_s.arg(title).arg(at.x()).arg(at.y()));
    return window.page;
}

void SwayDesktop::listenToPointer(wl_seat *seat)
{
    static const wl_pointer_listener listener = [] {
        wl_pointer_listener all = {};
        static constexpr auto desktop = [](void *self) -> SwayDesktop & { return *static_cast<SwayDesktop *>(self); };
        all.enter = [](void *self, wl_pointer *, uint32_t, wl_surface *surface, wl_fixed_t, wl_fixed_t) {
            desktop(self).m_pointed = surface;
        };
        all.leave = [](void *self, wl_pointer *, uint32_t, wl_surface *) { desktop(self).m_pointed = nullptr; };
        all.motion = [](void *, wl_pointer *, uint32_t, wl_fixed_t, wl_fixed_t) {};
        all.button = [](void *self, wl_pointer *, uint32_t serial, uint32_t, uint32_t, uint32_t isDown) {
            if (isDown)
                desktop(self).m_pressed = serial;
        };
        all.axis = [](void *self, wl_pointer *, uint32_t time, uint32_t, wl_fixed_t way) {
            desktop(self).turn(way < 0 ? -1 : 1, time);
        };
        all.frame = [](void *, wl_pointer *) {};
        all.axis_source = [](void *, wl_pointer *, uint32_t) {};
        all.axis_stop = [](void *, wl_pointer *, uint32_t, uint32_t) {};
        all.axis_discrete = [](void *, wl_pointer *, uint32_t, int32_t) {};
        return all;
    }();
    wl_pointer_add_listener(wl_seat_get_pointer(seat), &listener, this);
}

void SwayDesktop::turn(int clicks, quint32 time)
{
    constexpr int rowsPerClick = 57, mostTurnsAtOnce = 6;
    m_turns = time - m_lastTurn < 2 ? m_turns + 1 : 1;
    m_lastTurn = time;
    for (const std::unique_ptr<Window> &window : m_windows) {
        Page &page = window->page;
        if (window->surface != m_pointed || m_turns > mostTurnsAtOnce)
            continue;
        page.offset = std::clamp(page.offset + clicks * rowsPerClick, 0, page.content.height() - page.seen.height());
        window->show();
    }
}

QString SwayDesktop::activationToken()
{
    auto *activation = m_server->bind<xdg_activation_v1>(xdg_activation_v1_interface, 1);
    auto *seat = m_server->bind<wl_seat>(wl_seat_interface, 1);
    if (!activation || !seat)
        qFatal("sway has no activation");
    m_pressed = 0;
    buttonDown();
    if (!wait([&] { return m_pressed != 0; }))
        qFatal("the pointer is on no window");
    buttonUp();
    xdg_activation_token_v1 *token = xdg_activation_v1_get_activation_token(activation);
    QString words;
    static constexpr xdg_activation_token_v1_listener listener = {
        .done = [](void *to, xdg_activation_token_v1 *,
                   const char *made) { *static_cast<QString *>(to) = QString::fromLatin1(made); },
    };
    xdg_activation_token_v1_add_listener(token, &listener, &words);
    xdg_activation_token_v1_set_serial(token, m_pressed, seat);
    xdg_activation_token_v1_set_surface(token, m_pointed);
    xdg_activation_token_v1_commit(token);
    if (!wait([&] { return !words.isEmpty(); }))
        qFatal("sway gives no token");
    xdg_activation_token_v1_destroy(token);
    return words;
}

QImage SwayDesktop::picture(int output)
{
    const QByteArray png = run(u"grim"_s, {u"-o"_s, u"HEADLESS-%1"_s.arg(output + 1), u"-"_s});
    return QImage::fromData(png, "PNG").convertToFormat(QImage::Format_RGB32);
}

bool SwayDesktop::shows(const QImage &wanted, QPoint at, int output)
{
    return wait([&] { return picture(output).copy(QRect(at, wanted.size())) == wanted; });
}

} // namespace qm
