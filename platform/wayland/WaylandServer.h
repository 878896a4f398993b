#pragma once

#include "platform/wayland/CallingDeleter.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <wayland-client-core.h>

struct wl_registry;

namespace qm {

// The connection to the compositor that WAYLAND_DISPLAY names, and the globals it offers. One thread. Requests are made with
// the protocol's own calls; objects made with bind() must be destroyed before the connection.
class WaylandServer
{
public:
    static std::unique_ptr<WaylandServer> connect(); // null if there is no compositor to talk to
    ~WaylandServer();
    WaylandServer(const WaylandServer &) = delete;
    WaylandServer &operator=(const WaylandServer &) = delete;

    wl_display *get() const { return m_display.get(); }
    bool isBroken() const { return wl_display_get_error(get()) != 0; }
    int descriptor() const { return wl_display_get_fd(get()); }

    // Ids of the globals of this interface, in the compositor's order. They come and go with monitors and seats.
    std::vector<uint32_t> globals(const wl_interface &interface) const;
    bool hasGlobal(uint32_t id) const;

    // Binds the first global of an interface, or the one with this id, in the newest version that both sides know.
    // Null if the compositor does not offer it.
    template<class T>
    T *bind(const wl_interface &interface, uint32_t newestVersion, uint32_t id = 0) const
    {
        return static_cast<T *>(bound(interface, newestVersion, id));
    }

    bool roundTrip() { return wl_display_roundtrip(get()) >= 0; } // false: the connection is broken
    // Sends what is waiting, and handles events; waits for one at most until the limit. False once the connection is broken.
    bool dispatch(std::chrono::milliseconds limit);
    // The same until a condition holds. False if it does not in time.
    bool waitFor(const std::function<bool()> &condition, std::chrono::milliseconds limit);

private:
    struct Global {
        uint32_t id;
        std::string interface;
        uint32_t version;
    };
    explicit WaylandServer(wl_display *display);
    void *bound(const wl_interface &interface, uint32_t newestVersion, uint32_t id) const;

    std::unique_ptr<wl_display, CallingDeleter<wl_display_disconnect>> m_display;
    wl_registry *m_registry = nullptr;
    std::vector<Global> m_globals;
};

} // namespace qm
