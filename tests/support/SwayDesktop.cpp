#include "tests/support/SwayDesktop.h"

#include "platform/ParentDeath.h"
#include "platform/wayland/WaylandServer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <cstring>
#include <linux/input-event-codes.h>
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
    wl_surface *surface;
    xdg_surface *shell;
    xdg_toplevel *toplevel;
    bool isConfigured = false;
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

    auto *seat = m_server->bind<wl_seat>(wl_seat_interface, 1);
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
}

SwayDesktop::~SwayDesktop()
{
    xkb_state_unref(m_keys);
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

void SwayDesktop::showWindow(const QString &title, const QImage &picture, QPoint at)
{
    auto *compositor = m_server->bind<wl_compositor>(wl_compositor_interface, 4);
    auto *shm = m_server->bind<wl_shm>(wl_shm_interface, 1);
    auto *shell = m_server->bind<xdg_wm_base>(xdg_wm_base_interface, 1);
    static constexpr xdg_wm_base_listener pings = {
        .ping = [](void *, xdg_wm_base *base, uint32_t serial) { xdg_wm_base_pong(base, serial); },
    };
    xdg_wm_base_add_listener(shell, &pings, nullptr);
    Window &window = *m_windows.emplace_back(std::make_unique<Window>());
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
    xdg_toplevel_set_min_size(window.toplevel, picture.width(), picture.height());
    xdg_toplevel_set_max_size(window.toplevel, picture.width(), picture.height());
    wl_surface_commit(window.surface);
    if (!wait([&] { return window.isConfigured; }))
        qFatal("sway shows no window");

    const int file = sharedFile(picture.constBits(), size_t(picture.sizeInBytes()));
    wl_shm_pool *pool = wl_shm_create_pool(shm, file, int32_t(picture.sizeInBytes()));
    wl_buffer *buffer = wl_shm_pool_create_buffer(pool, 0, picture.width(), picture.height(),
                                                  int32_t(picture.bytesPerLine()), WL_SHM_FORMAT_XRGB8888);
    wl_shm_pool_destroy(pool);
    close(file);
    wl_surface_attach(window.surface, buffer, 0, 0);
    wl_surface_damage_buffer(window.surface, 0, 0, picture.width(), picture.height());
    wl_surface_commit(window.surface);
    m_server->roundTrip();
    command(u"[title=\"%1\"] move absolute position %2 %3"_s.arg(title).arg(at.x()).arg(at.y()));
}

QString SwayDesktop::activationToken()
{
    auto *activation = m_server->bind<xdg_activation_v1>(xdg_activation_v1_interface, 1);
    auto *seat = m_server->bind<wl_seat>(wl_seat_interface, 1);
    if (!activation || !seat)
        qFatal("sway has no activation");
    uint32_t serial = 0; // sway knows by it that the user has been there
    static const wl_pointer_listener entered = [] {
        wl_pointer_listener all = {};
        all.enter = [](void *to, wl_pointer *, uint32_t number, wl_surface *, wl_fixed_t, wl_fixed_t) {
            *static_cast<uint32_t *>(to) = number;
        };
        all.leave = [](void *, wl_pointer *, uint32_t, wl_surface *) {};
        all.motion = [](void *, wl_pointer *, uint32_t, wl_fixed_t, wl_fixed_t) {};
        all.button = [](void *, wl_pointer *, uint32_t, uint32_t, uint32_t, uint32_t) {};
        all.axis = [](void *, wl_pointer *, uint32_t, uint32_t, wl_fixed_t) {};
        return all;
    }();
    wl_pointer *pointer = wl_seat_get_pointer(seat);
    wl_pointer_add_listener(pointer, &entered, &serial);
    if (!wait([&] { return serial != 0; }))
        qFatal("the pointer is on no window");
    wl_pointer_destroy(pointer);
    xdg_activation_token_v1 *token = xdg_activation_v1_get_activation_token(activation);
    QString words;
    static constexpr xdg_activation_token_v1_listener listener = {
        .done = [](void *to, xdg_activation_token_v1 *,
                   const char *made) { *static_cast<QString *>(to) = QString::fromLatin1(made); },
    };
    xdg_activation_token_v1_add_listener(token, &listener, &words);
    xdg_activation_token_v1_set_serial(token, serial, seat);
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
