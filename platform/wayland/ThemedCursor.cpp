#include "platform/wayland/ThemedCursor.h"

#include <cstdlib>
#include <wayland-client-protocol.h>
#include <wayland-cursor.h>

namespace qm {

static constexpr int usualSize = 24; // points; where the desktop does not say

ThemedCursor::ThemedCursor(wl_compositor *compositor, wl_shm *shm)
    : m_shm(shm)
    , m_surface(wl_compositor_create_surface(compositor))
{
}

ThemedCursor::~ThemedCursor()
{
    if (m_theme)
        wl_cursor_theme_destroy(m_theme);
    wl_surface_destroy(m_surface);
}

void ThemedCursor::show(wl_pointer *pointer, uint32_t serial, std::initializer_list<const char *> names, int scale)
{
    if (!m_theme) {
        const char *size = std::getenv("XCURSOR_SIZE");
        const int points = size ? std::atoi(size) : 0;
        const char *theme = std::getenv("XCURSOR_THEME");
        m_scale = scale;
        m_theme =
            wl_cursor_theme_load(theme && *theme ? theme : nullptr, (points > 0 ? points : usualSize) * m_scale, m_shm);
    }
    wl_cursor *cursor = nullptr;
    for (const char *name : names) {
        if (m_theme && !cursor)
            cursor = wl_cursor_theme_get_cursor(m_theme, name);
    }
    if (!cursor)
        return;
    const wl_cursor_image &image = *cursor->images[0];
    wl_surface_set_buffer_scale(m_surface, m_scale);
    wl_surface_attach(m_surface, wl_cursor_image_get_buffer(cursor->images[0]), 0, 0);
    wl_surface_damage(m_surface, 0, 0, int32_t(image.width), int32_t(image.height));
    wl_surface_commit(m_surface);
    wl_pointer_set_cursor(pointer, serial, m_surface, int32_t(image.hotspot_x) / m_scale,
                          int32_t(image.hotspot_y) / m_scale);
}

} // namespace qm
