#pragma once

#include "helpers/wayland/ShmBuffer.h"
#include "helpers/wayland/WaylandOutputs.h"

#include <span>

struct wl_callback;
struct wl_compositor;
struct wl_surface;
struct wp_viewport;
struct wp_viewporter;
struct xdg_surface;
struct xdg_toplevel;
struct xdg_wm_base;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace qm {

// What surfaces are made of. Null where the compositor does not offer it.
struct SurfaceGlobals {
    explicit SurfaceGlobals(const WaylandServer &server);
    ~SurfaceGlobals();
    Q_DISABLE_COPY_MOVE(SurfaceGlobals)

    // False if nothing can be shown above everything.
    bool suffice() const { return compositor && shm && (layerShell || windowShell); }

    wl_compositor *compositor;
    wl_shm *shm;
    zwlr_layer_shell_v1 *layerShell;
    xdg_wm_base *windowShell;
    wp_viewporter *viewporter;
};

// A surface that covers one monitor and has its keyboard: above everything if the compositor lets clients ask for that,
// otherwise a window. One thread.
class OutputSurface
{
public:
    // A full-screen window hides what lies below, even where it is clear. So if that is to be seen, it is a maximized one: it
    // leaves out the desktop's bars, and nobody tells where on the monitor it begins.
    enum class Below { hidden, seen };
    // Not shown before a buffer has been.
    OutputSurface(const SurfaceGlobals &globals, const WaylandOutput &output, Below below = Below::hidden);
    ~OutputSurface();
    Q_DISABLE_COPY_MOVE(OutputSurface)

    void setPixels(QSize pixels);   // the buffers' size; before the first one is shown
    void setKeyboard(bool takesIt); // with the next commit; a window cannot leave it to others

    wl_surface *handle() const { return m_surface; }
    bool coversAll() const { return m_coversAll; } // of the monitor
    bool isConfigured() const { return !m_size.isEmpty(); }
    bool isClosed() const { return m_isClosed; } // by the compositor
    QSize size() const { return m_size; }        // in the surface's own coordinates, those of input

    // One that the compositor does not read; null if it reads all of them, or there is no memory for one. Those of one
    // surface are all of a kind: opaque, or clear, which is not seen as long as nothing is painted.
    enum class Alpha { opaque, clear };
    ShmBuffer *idleBuffer(Alpha alpha = Alpha::opaque);
    // Between a buffer and the next frame, further ones would never be seen.
    bool awaitsFrame() const { return m_frame != nullptr; }
    // Shows the buffer, of which this damage (pixels) differs from what was shown before.
    void show(ShmBuffer &buffer, std::span<const QRect> damage);

private:
    void configured(QSize size);
    void scale();

    wl_surface *m_surface;
    zwlr_layer_surface_v1 *m_layer = nullptr;
    xdg_surface *m_window = nullptr;
    xdg_toplevel *m_toplevel = nullptr;
    wp_viewport *m_viewport = nullptr;
    wl_callback *m_frame = nullptr;
    wl_shm *m_shm;
    QSize m_pixels;
    QSize m_asked; // of a window
    QSize m_size;
    bool m_coversAll = true;
    bool m_isClosed = false;
    std::vector<std::unique_ptr<ShmBuffer>> m_buffers;
};

} // namespace qm
