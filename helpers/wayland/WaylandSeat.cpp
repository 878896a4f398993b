#include "helpers/wayland/WaylandSeat.h"

#include <wayland-client-protocol.h>

namespace qm {

// From version 5 on devices can be released; with 8, wheels speak another language, which nothing here needs.
static constexpr uint32_t newestVersion = 5;

WaylandSeat::WaylandSeat(WaylandServer &server)
    : m_server(server)
    , m_waiting(wl_display_create_queue(server.get()))
    , m_seat(server.bind<wl_seat>(wl_seat_interface, newestVersion))
{
    static constexpr wl_seat_listener listener = {
        .capabilities = [](void *self, wl_seat *,
                           uint32_t capabilities) { static_cast<WaylandSeat *>(self)->foundDevices(capabilities); },
        .name = [](void *, wl_seat *, const char *) {},
    };
    if (m_seat)
        wl_seat_add_listener(m_seat, &listener, this);
}

WaylandSeat::~WaylandSeat()
{
    const bool canRelease = m_seat && wl_seat_get_version(m_seat) >= WL_POINTER_RELEASE_SINCE_VERSION;
    if (m_pointer)
        canRelease ? wl_pointer_release(m_pointer) : wl_pointer_destroy(m_pointer);
    if (m_keyboard)
        canRelease ? wl_keyboard_release(m_keyboard) : wl_keyboard_destroy(m_keyboard);
    if (m_seat)
        canRelease ? wl_seat_release(m_seat) : wl_seat_destroy(m_seat);
    wl_event_queue_destroy(m_waiting);
}

// Devices that are plugged in later are not waited for.
void WaylandSeat::foundDevices(uint32_t capabilities)
{
    if ((capabilities & WL_SEAT_CAPABILITY_POINTER) && !m_pointer) {
        m_pointer = wl_seat_get_pointer(m_seat);
        wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(m_pointer), m_waiting);
    }
    if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) && !m_keyboard) {
        m_keyboard = wl_seat_get_keyboard(m_seat);
        wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(m_keyboard), m_waiting);
    }
}

void WaylandSeat::listen(const wl_pointer_listener &pointer, const wl_keyboard_listener &keyboard, void *data)
{
    if (m_pointer)
        wl_pointer_add_listener(m_pointer, &pointer, data);
    if (m_keyboard)
        wl_keyboard_add_listener(m_keyboard, &keyboard, data);
    wl_display_dispatch_queue_pending(m_server.get(), m_waiting);
    for (wl_proxy *device : {reinterpret_cast<wl_proxy *>(m_pointer), reinterpret_cast<wl_proxy *>(m_keyboard)}) {
        if (device)
            wl_proxy_set_queue(device, nullptr); // the one that everything else uses
    }
}

} // namespace qm
