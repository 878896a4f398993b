#pragma once

#include <cstdint>
#include <initializer_list>

struct wl_compositor;
struct wl_cursor_theme;
struct wl_pointer;
struct wl_shm;
struct wl_surface;

namespace qm {

// The pointer's picture over a surface of ours, from the user's theme. One thread; the globals outlive it.
class ThemedCursor
{
public:
    ThemedCursor(wl_compositor *compositor, wl_shm *shm);
    ~ThemedCursor();
    ThemedCursor(const ThemedCursor &) = delete;
    ThemedCursor &operator=(const ThemedCursor &) = delete;

    // The first of these names that the theme has; nothing changes if it has none. serial: of the pointer's coming. The scale
    // of the first call stays.
    void show(wl_pointer *pointer, uint32_t serial, std::initializer_list<const char *> names, int scale);

private:
    wl_shm *m_shm;
    wl_surface *m_surface;
    wl_cursor_theme *m_theme = nullptr; // loaded when it is first needed
    int m_scale = 1;
};

} // namespace qm
