#include "helpers/wayland/OutputSurface.h"

#include <algorithm>
#include <protocol/layer-shell.h>
#include <protocol/viewporter.h>
#include <protocol/xdg-shell.h>
#include <wayland-client-protocol.h>

namespace qm {

namespace {

constexpr size_t bufferLimit = 3; // one is shown, one is on its way, one is painted
constexpr char name[] = "quillmere";

OutputSurface &surfaceOf(void *data)
{
    return *static_cast<OutputSurface *>(data);
}

} // namespace

SurfaceGlobals::SurfaceGlobals(const WaylandServer &server)
    : compositor(server.bind<wl_compositor>(wl_compositor_interface, 4)) // from 4 on, damage is in pixels
    , shm(server.bind<wl_shm>(wl_shm_interface, 1))
    , layerShell(server.bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, 1))
    , windowShell(server.bind<xdg_wm_base>(xdg_wm_base_interface, 1))
    , viewporter(server.bind<wp_viewporter>(wp_viewporter_interface, 1))
{
    static constexpr xdg_wm_base_listener listener = {
        .ping = [](void *, xdg_wm_base *shell, uint32_t serial) { xdg_wm_base_pong(shell, serial); },
    };
    if (windowShell)
        xdg_wm_base_add_listener(windowShell, &listener, nullptr);
}

SurfaceGlobals::~SurfaceGlobals()
{
    if (viewporter)
        wp_viewporter_destroy(viewporter);
    if (windowShell)
        xdg_wm_base_destroy(windowShell);
    if (layerShell)
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(layerShell)); // version 1 has no request for it
    if (shm)
        wl_shm_destroy(shm);
    if (compositor)
        wl_compositor_destroy(compositor);
}

OutputSurface::OutputSurface(const SurfaceGlobals &globals, const WaylandOutput &output, Below below)
    : m_surface(wl_compositor_create_surface(globals.compositor))
    , m_shm(globals.shm)
{
    if (globals.viewporter)
        m_viewport = wp_viewporter_get_viewport(globals.viewporter, m_surface);
    if (globals.layerShell) {
        m_layer = zwlr_layer_shell_v1_get_layer_surface(globals.layerShell, m_surface, output.handle,
                                                        ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, name);
        static constexpr zwlr_layer_surface_v1_listener listener = {
            .configure =
                [](void *self, zwlr_layer_surface_v1 *layer, uint32_t serial, uint32_t width, uint32_t height) {
                    zwlr_layer_surface_v1_ack_configure(layer, serial);
                    surfaceOf(self).configured({int(width), int(height)});
                },
            .closed = [](void *self, zwlr_layer_surface_v1 *) { surfaceOf(self).m_isClosed = true; },
        };
        zwlr_layer_surface_v1_add_listener(m_layer, &listener, this);
        zwlr_layer_surface_v1_set_anchor(m_layer,
                                         ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                                             ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
        zwlr_layer_surface_v1_set_exclusive_zone(m_layer, -1);
        setKeyboard(true);
    } else {
        m_window = xdg_wm_base_get_xdg_surface(globals.windowShell, m_surface);
        static constexpr xdg_surface_listener surfaceListener = {
            .configure =
                [](void *self, xdg_surface *window, uint32_t serial) {
                    xdg_surface_ack_configure(window, serial);
                    surfaceOf(self).configured(surfaceOf(self).m_asked);
                },
        };
        xdg_surface_add_listener(m_window, &surfaceListener, this);
        m_toplevel = xdg_surface_get_toplevel(m_window);
        static constexpr xdg_toplevel_listener toplevelListener = {
            .configure =
                [](void *self, xdg_toplevel *, int32_t width, int32_t height, wl_array *) {
                    surfaceOf(self).m_asked = {width, height};
                },
            .close = [](void *self, xdg_toplevel *) { surfaceOf(self).m_isClosed = true; },
            .configure_bounds = [](void *, xdg_toplevel *, int32_t, int32_t) {},
            .wm_capabilities = [](void *, xdg_toplevel *, wl_array *) {},
        };
        xdg_toplevel_add_listener(m_toplevel, &toplevelListener, this);
        xdg_toplevel_set_app_id(m_toplevel, name);
        xdg_toplevel_set_fullscreen(m_toplevel, output.handle);
        m_coversAll = below == Below::hidden;
        if (!m_coversAll) { // on the monitor to which the above has brought it
            xdg_toplevel_unset_fullscreen(m_toplevel);
            xdg_toplevel_set_maximized(m_toplevel);
        }
    }
    wl_surface_commit(m_surface);
}

OutputSurface::~OutputSurface()
{
    if (m_frame)
        wl_callback_destroy(m_frame);
    if (m_viewport)
        wp_viewport_destroy(m_viewport);
    if (m_layer)
        zwlr_layer_surface_v1_destroy(m_layer);
    if (m_toplevel)
        xdg_toplevel_destroy(m_toplevel);
    if (m_window)
        xdg_surface_destroy(m_window);
    wl_surface_destroy(m_surface);
}

// A window may be told another size first, and its true one a little later.
void OutputSurface::configured(QSize size)
{
    if (!size.isEmpty())
        m_size = size;
}

void OutputSurface::scale()
{
    if (m_viewport)
        wp_viewport_set_destination(m_viewport, m_size.width(), m_size.height());
    else
        wl_surface_set_buffer_scale(m_surface, std::max(1, m_pixels.width() / m_size.width()));
}

void OutputSurface::setPixels(QSize pixels)
{
    if (pixels != m_pixels)
        m_buffers.clear();
    m_pixels = pixels;
}

void OutputSurface::setKeyboard(bool takesIt)
{
    if (m_layer)
        zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer, takesIt);
}

ShmBuffer *OutputSurface::idleBuffer(Alpha alpha)
{
    for (const std::unique_ptr<ShmBuffer> &buffer : m_buffers) {
        if (!buffer->isRead())
            return buffer.get();
    }
    if (m_buffers.size() == bufferLimit)
        return nullptr;
    const uint32_t format = alpha == Alpha::opaque ? WL_SHM_FORMAT_XRGB8888 : WL_SHM_FORMAT_ARGB8888;
    std::unique_ptr<ShmBuffer> made = ShmBuffer::create(m_shm, m_pixels, m_pixels.width() * 4, format);
    if (!made)
        return nullptr;
    m_buffers.push_back(std::move(made));
    return m_buffers.back().get();
}

void OutputSurface::show(ShmBuffer &buffer, std::span<const QRect> damage)
{
    buffer.handOver();
    scale(); // the pixels may have become known after the size
    wl_surface_attach(m_surface, buffer.handle(), 0, 0);
    for (const QRect &part : damage)
        wl_surface_damage_buffer(m_surface, part.x(), part.y(), part.width(), part.height());
    static constexpr wl_callback_listener listener = {
        .done =
            [](void *self, wl_callback *callback, uint32_t) {
                wl_callback_destroy(callback);
                surfaceOf(self).m_frame = nullptr;
            },
    };
    m_frame = wl_surface_frame(m_surface);
    wl_callback_add_listener(m_frame, &listener, this);
    wl_surface_commit(m_surface);
}

} // namespace qm
