#include "platform/PanelSurface.h"

#include "platform/wayland/ReaderPipe.h"
#include "platform/wayland/ThemedCursor.h"
#include "platform/wayland/WaylandServer.h"

#include <QFile>
#include <QSocketNotifier>
#include <QUrl>

#include <linux/input-event-codes.h>
#include <protocol/layer-shell.h>
#include <sys/mman.h>
#include <thread>
#include <wayland-client-protocol.h>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto patience = 500ms; // with a compositor that is busy
constexpr char listOfFiles[] = "text/uri-list";

// Pixels that the compositor reads, until it has. Null if there is no memory.
wl_buffer *bufferOf(wl_shm *shm, const QImage &picture)
{
    const QImage pixels = picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QFile file;
    const int memory = memfd_create("quillmere-panel", MFD_CLOEXEC);
    if (memory < 0 || !file.open(memory, QIODevice::WriteOnly | QIODevice::Unbuffered, QFile::AutoCloseHandle) ||
        file.write(reinterpret_cast<const char *>(pixels.constBits()), pixels.sizeInBytes()) != pixels.sizeInBytes())
        return nullptr;
    wl_shm_pool *pool = wl_shm_create_pool(shm, memory, int32_t(pixels.sizeInBytes()));
    wl_buffer *buffer = wl_shm_pool_create_buffer(pool, 0, pixels.width(), pixels.height(),
                                                  int32_t(pixels.bytesPerLine()), WL_SHM_FORMAT_ARGB8888);
    wl_shm_pool_destroy(pool);
    static constexpr wl_buffer_listener listener = {
        .release = [](void *, wl_buffer *read) { wl_buffer_destroy(read); }};
    wl_buffer_add_listener(buffer, &listener, nullptr);
    return buffer;
}

void put(wl_surface *surface, wl_shm *shm, const QImage &picture)
{
    wl_buffer *buffer = bufferOf(shm, picture);
    if (!buffer)
        return;
    wl_surface_set_buffer_scale(surface, int32_t(picture.devicePixelRatio()));
    wl_surface_attach(surface, buffer, 0, 0);
    wl_surface_damage(surface, 0, 0, picture.width(), picture.height());
    wl_surface_commit(surface);
}

// On a connection of its own, which ends with it and takes everything along.
class LayerSurface : public PanelSurface
{
public:
    LayerSurface(QSize points, int above, Pointer pointer)
        : m_events(std::move(pointer))
        , m_server(WaylandServer::connect())
    {
        if (!m_server)
            return;
        m_compositor = m_server->bind<wl_compositor>(wl_compositor_interface, 3);
        m_shm = m_server->bind<wl_shm>(wl_shm_interface, 1);
        m_seat = m_server->bind<wl_seat>(wl_seat_interface, 1);
        m_dragging = m_server->bind<wl_data_device_manager>(wl_data_device_manager_interface, 3);
        auto *shell = m_server->bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, 1);
        if (!m_compositor || !m_shm || !shell)
            return;
        m_surface = wl_compositor_create_surface(m_compositor);
        m_layer = zwlr_layer_shell_v1_get_layer_surface(shell, m_surface, nullptr, ZWLR_LAYER_SHELL_V1_LAYER_TOP,
                                                        "notification"); // by which KWin knows what it is
        static constexpr zwlr_layer_surface_v1_listener listener = {
            .configure =
                [](void *self, zwlr_layer_surface_v1 *layer, uint32_t serial, uint32_t, uint32_t) {
                    zwlr_layer_surface_v1_ack_configure(layer, serial);
                    of(self).m_isConfigured = true;
                },
            .closed = [](void *self, zwlr_layer_surface_v1 *) { of(self).m_isConfigured = false; },
        };
        zwlr_layer_surface_v1_add_listener(m_layer, &listener, this);
        zwlr_layer_surface_v1_set_size(m_layer, uint32_t(points.width()), uint32_t(points.height()));
        zwlr_layer_surface_v1_set_anchor(m_layer,
                                         ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
        zwlr_layer_surface_v1_set_margin(m_layer, 0, 0, above, 0);
        listenToPointer();
        wl_surface_commit(m_surface);
        if (!m_server->waitFor([this] { return m_isConfigured; }, patience))
            return;
        m_notifier = std::make_unique<QSocketNotifier>(m_server->descriptor(), QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
            if (!m_server->dispatch(0ms))
                m_notifier->setEnabled(false);
        });
    }

    ~LayerSurface() override
    {
        m_notifier.reset();
        m_cursor.reset(); // before its connection
    }

    bool isThere() const { return m_notifier != nullptr; }

    void setAbove(int above) override
    {
        zwlr_layer_surface_v1_set_margin(m_layer, 0, 0, above, 0);
        wl_surface_commit(m_surface);
        wl_display_flush(m_server->get());
    }

    void show(const QImage &picture, const QRect &seen) override
    {
        if (!m_isConfigured)
            return;
        wl_region *region = wl_compositor_create_region(m_compositor);
        wl_region_add(region, seen.x(), seen.y(), seen.width(), seen.height());
        wl_surface_set_input_region(m_surface, region);
        wl_region_destroy(region);
        m_scale = int(picture.devicePixelRatio());
        put(m_surface, m_shm, picture);
        wl_display_flush(m_server->get());
    }

    void setCursor(Qt::CursorShape shape) override
    {
        if (!m_pointer || shape == m_shape)
            return;
        m_shape = shape;
        if (!m_cursor)
            m_cursor.emplace(m_compositor, m_shm);
        if (shape == Qt::PointingHandCursor) // themes differ
            m_cursor->show(m_pointer, m_entered, {"pointer", "hand2", "hand1", "left_ptr"}, m_scale);
        else
            m_cursor->show(m_pointer, m_entered, {"left_ptr"}, m_scale);
        wl_display_flush(m_server->get());
    }

    void dragFile(const QString &path, const QImage &picture) override
    {
        if (!m_dragging || !m_pointer || m_file)
            return later([ended = m_events.dragEnded] { ended(false); });
        m_dragged = QUrl::fromLocalFile(path).toEncoded() + "\r\n";
        m_file = wl_data_device_manager_create_data_source(m_dragging);
        static constexpr wl_data_source_listener listener = {
            .target = [](void *, wl_data_source *, const char *) {},
            .send =
                [](void *self, wl_data_source *, const char *, int32_t file) {
                    std::thread([file, all = of(self).m_dragged] {
                        writeToReader(file, {all.constData(), size_t(all.size())});
                    }).detach();
                },
            .cancelled = [](void *self, wl_data_source *) { of(self).endDrag(false); },
            .dnd_drop_performed = [](void *, wl_data_source *) {},
            .dnd_finished = [](void *self, wl_data_source *) { of(self).endDrag(true); },
            .action = [](void *, wl_data_source *, uint32_t) {},
        };
        wl_data_source_add_listener(m_file, &listener, this);
        wl_data_source_offer(m_file, listOfFiles);
        wl_data_source_set_actions(m_file, WL_DATA_DEVICE_MANAGER_DND_ACTION_COPY);
        wl_surface *icon = wl_compositor_create_surface(m_compositor);
        wl_data_device_start_drag(wl_data_device_manager_get_data_device(m_dragging, m_seat), m_file, m_surface, icon,
                                  m_pressed);
        put(icon, m_shm, picture);
        wl_display_flush(m_server->get());
    }

private:
    static LayerSurface &of(void *self) { return *static_cast<LayerSurface *>(self); }

    void listenToPointer()
    {
        if (!m_seat)
            return;
        static constexpr wl_seat_listener seat = {
            .capabilities =
                [](void *self, wl_seat *handle, uint32_t capabilities) {
                    if (!(capabilities & WL_SEAT_CAPABILITY_POINTER) || of(self).m_pointer)
                        return;
                    static const wl_pointer_listener pointer = pointerListener();
                    of(self).m_pointer = wl_seat_get_pointer(handle);
                    wl_pointer_add_listener(of(self).m_pointer, &pointer, self);
                },
            .name = [](void *, wl_seat *, const char *) {},
        };
        wl_seat_add_listener(m_seat, &seat, this);
        m_server->roundTrip();
    }

    static wl_pointer_listener pointerListener()
    {
        wl_pointer_listener listener = {}; // only what the first version of the protocol has is called
        listener.enter = [](void *self, wl_pointer *, uint32_t serial, wl_surface *, wl_fixed_t x, wl_fixed_t y) {
            of(self).m_entered = serial;
            of(self).m_shape = Qt::BlankCursor;
            of(self).m_at = {wl_fixed_to_double(x), wl_fixed_to_double(y)};
            of(self).later([entered = of(self).m_events.entered, at = of(self).m_at] { entered(at); });
        };
        listener.leave = [](void *self, wl_pointer *, uint32_t, wl_surface *) {
            of(self).later(of(self).m_events.left);
        };
        listener.motion = [](void *self, wl_pointer *, uint32_t, wl_fixed_t x, wl_fixed_t y) {
            of(self).m_at = {wl_fixed_to_double(x), wl_fixed_to_double(y)};
            of(self).later([moved = of(self).m_events.moved, at = of(self).m_at] { moved(at); });
        };
        listener.button = [](void *self, wl_pointer *, uint32_t serial, uint32_t, uint32_t button, uint32_t state) {
            of(self).m_pressed = serial;
            const Qt::MouseButton which = button == BTN_LEFT    ? Qt::LeftButton
                                          : button == BTN_RIGHT ? Qt::RightButton
                                                                : Qt::MiddleButton;
            const bool isDown = state == WL_POINTER_BUTTON_STATE_PRESSED;
            of(self).later(
                [press = of(self).m_events.button, at = of(self).m_at, which, isDown] { press(at, which, isDown); });
        };
        listener.axis = [](void *, wl_pointer *, uint32_t, uint32_t, wl_fixed_t) {};
        return listener;
    }

    // Not while the connection is read: what is called may end it.
    void later(std::function<void()> call)
    {
        QMetaObject::invokeMethod(&m_context, std::move(call), Qt::QueuedConnection);
    }

    void endDrag(bool dropped)
    {
        wl_data_source_destroy(std::exchange(m_file, nullptr));
        later([ended = m_events.dragEnded, dropped] { ended(dropped); });
    }

    const Pointer m_events;
    QObject m_context; // what is to be called later is not, once this has gone
    const std::unique_ptr<WaylandServer> m_server;
    std::unique_ptr<QSocketNotifier> m_notifier; // null: nothing can be shown
    wl_compositor *m_compositor = nullptr;
    wl_shm *m_shm = nullptr;
    wl_surface *m_surface = nullptr;
    zwlr_layer_surface_v1 *m_layer = nullptr;
    bool m_isConfigured = false;
    int m_scale = 1;

    wl_seat *m_seat = nullptr;
    wl_pointer *m_pointer = nullptr;
    uint32_t m_entered = 0, m_pressed = 0; // serials of the latest such events
    QPointF m_at;                          // points
    std::optional<ThemedCursor> m_cursor;
    Qt::CursorShape m_shape = Qt::BlankCursor; // not set yet

    wl_data_device_manager *m_dragging = nullptr;
    wl_data_source *m_file = nullptr; // what is being dragged
    QByteArray m_dragged;
};

} // namespace

bool PanelSurface::isOffered()
{
    static const bool is = [] {
        const std::unique_ptr<WaylandServer> server =
            qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ? nullptr : WaylandServer::connect();
        return server && !server->globals(zwlr_layer_shell_v1_interface).empty();
    }();
    return is;
}

std::unique_ptr<PanelSurface> PanelSurface::make(QSize points, int above, Pointer pointer)
{
    auto surface = std::make_unique<LayerSurface>(points, above, std::move(pointer));
    return surface->isThere() ? std::move(surface) : nullptr;
}

} // namespace qm
