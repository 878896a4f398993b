#include "helpers/wayland/overlay/PointerPicture.h"

#include "helpers/overlay/OverlaySprites.h"

#include <cmath>
#include <cstring>
#include <protocol/viewporter.h>
#include <wayland-client-protocol.h>

namespace qm {

PointerPicture::PointerPicture(const SurfaceGlobals &globals)
    : m_globals(globals)
    , m_surface(wl_compositor_create_surface(globals.compositor))
{
    if (globals.viewporter)
        m_viewport = wp_viewporter_get_viewport(globals.viewporter, m_surface);
}

PointerPicture::~PointerPicture()
{
    if (m_viewport)
        wp_viewport_destroy(m_viewport);
    wl_surface_destroy(m_surface);
}

void PointerPicture::set(wl_pointer *pointer, quint32 serial, OverlayDesktop::Pointer shape, double scale,
                         QPoint offset)
{
    ShmBuffer *picture = drawn(shape, scale);
    if (!picture)
        return;
    const QSize size = picture->size();
    // The hot spot is in the surface's coordinates. It may lie outside the picture, which then stands beside the pointer.
    const auto hot = [&](int length, int away) {
        const int at = length / 2 - away; // a whole pixel
        return int(std::floor(at / scale));
    };
    wl_pointer_set_cursor(pointer, serial, m_surface, hot(size.width(), offset.x()), hot(size.height(), offset.y()));
    if (m_viewport)
        wp_viewport_set_destination(m_viewport, std::max(1, int(std::lround(size.width() / scale))),
                                    std::max(1, int(std::lround(size.height() / scale))));
    else
        wl_surface_set_buffer_scale(m_surface, std::max(1, int(scale)));
    wl_surface_attach(m_surface, picture->handle(), 0, 0);
    wl_surface_damage_buffer(m_surface, 0, 0, size.width(), size.height());
    wl_surface_commit(m_surface);
}

ShmBuffer *PointerPicture::drawn(OverlayDesktop::Pointer shape, double scale)
{
    const bool isCross = shape == OverlayDesktop::Pointer::cross;
    std::shared_ptr<ShmBuffer> &buffer = m_drawn[QString::number(scale) + (isCross ? u'x' : u'c')];
    if (!buffer) {
        const QImage picture = isCross ? OverlaySprites::cross(scale) : OverlaySprites::camera(scale);
        // A whole number of the surface's units, or compositors refuse it.
        const int unit = std::max(1, int(std::ceil(scale)));
        const QSize size((picture.width() + unit - 1) / unit * unit, (picture.height() + unit - 1) / unit * unit);
        buffer = ShmBuffer::create(m_globals.shm, size, size.width() * 4, WL_SHM_FORMAT_ARGB8888);
        for (int y = 0; buffer && y < picture.height(); ++y)
            std::memcpy(buffer->pixels() + y * size.width(), picture.constScanLine(y), size_t(picture.width()) * 4);
    }
    return buffer.get();
}

} // namespace qm
