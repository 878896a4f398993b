#pragma once

#include "platform/wayland/WaylandServer.h"

struct wl_keyboard;
struct wl_keyboard_listener;
struct wl_pointer;
struct wl_pointer_listener;
struct wl_seat;

namespace qm {

// The seat's pointer and keyboard. What they do waits until somebody listens: the first stage shows the overlay's surfaces,
// and the second, which understands input, must not miss any. One thread.
class WaylandSeat
{
public:
    explicit WaylandSeat(WaylandServer &server); // the devices are there after the next round trip
    ~WaylandSeat();
    WaylandSeat(const WaylandSeat &) = delete;
    WaylandSeat &operator=(const WaylandSeat &) = delete;

    wl_seat *handle() const { return m_seat; }
    wl_pointer *pointer() const { return m_pointer; } // null if there is none
    wl_keyboard *keyboard() const { return m_keyboard; }

    // Delivers what has waited, and from then on everything, when events are handled. Once only.
    void listen(const wl_pointer_listener &pointer, const wl_keyboard_listener &keyboard, void *data);

private:
    void foundDevices(uint32_t capabilities);

    WaylandServer &m_server;
    wl_event_queue *m_waiting;
    wl_seat *m_seat;
    wl_pointer *m_pointer = nullptr;
    wl_keyboard *m_keyboard = nullptr;
};

} // namespace qm
