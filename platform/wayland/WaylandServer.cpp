#include "platform/wayland/WaylandServer.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <wayland-client-protocol.h>

namespace qm {

std::unique_ptr<WaylandServer> WaylandServer::connect()
{
    wl_display *display = wl_display_connect(nullptr);
    if (!display)
        return nullptr;
    std::unique_ptr<WaylandServer> server(new WaylandServer(display));
    return server->roundTrip() ? std::move(server) : nullptr;
}

WaylandServer::WaylandServer(wl_display *display)
    : m_display(display)
    , m_registry(wl_display_get_registry(display))
{
    static constexpr wl_registry_listener listener = {
        .global =
            [](void *self, wl_registry *, uint32_t id, const char *interface, uint32_t version) {
                static_cast<WaylandServer *>(self)->m_globals.push_back({id, interface, version});
            },
        .global_remove =
            [](void *self, wl_registry *, uint32_t id) {
                std::erase_if(static_cast<WaylandServer *>(self)->m_globals,
                              [id](const Global &global) { return global.id == id; });
            },
    };
    wl_registry_add_listener(m_registry, &listener, this);
}

WaylandServer::~WaylandServer()
{
    wl_registry_destroy(m_registry);
}

std::vector<uint32_t> WaylandServer::globals(const wl_interface &interface) const
{
    std::vector<uint32_t> ids;
    for (const Global &global : m_globals) {
        if (global.interface == interface.name)
            ids.push_back(global.id);
    }
    return ids;
}

bool WaylandServer::hasGlobal(uint32_t id) const
{
    return std::any_of(m_globals.begin(), m_globals.end(), [id](const Global &global) { return global.id == id; });
}

void *WaylandServer::bound(const wl_interface &interface, uint32_t newestVersion, uint32_t id) const
{
    const auto global = std::find_if(m_globals.begin(), m_globals.end(), [&](const Global &each) {
        return each.interface == interface.name && (!id || each.id == id);
    });
    if (global == m_globals.end())
        return nullptr;
    return wl_registry_bind(m_registry, global->id, &interface, std::min(global->version, newestVersion));
}

bool WaylandServer::dispatch(std::chrono::milliseconds limit)
{
    if (wl_display_prepare_read(get()) != 0)
        return wl_display_dispatch_pending(get()) >= 0;
    // A compositor that reads nothing for a while makes the socket full: what is left is sent by the next call.
    const bool isFull = wl_display_flush(get()) < 0 && errno == EAGAIN;
    pollfd events = {descriptor(), short(isFull ? POLLIN | POLLOUT : POLLIN), 0};
    if (poll(&events, 1, int(limit.count())) > 0 && (events.revents & (POLLIN | POLLHUP | POLLERR)))
        wl_display_read_events(get());
    else
        wl_display_cancel_read(get());
    return wl_display_dispatch_pending(get()) >= 0 && !isBroken();
}

bool WaylandServer::waitFor(const std::function<bool()> &condition, std::chrono::milliseconds limit)
{
    using std::chrono::steady_clock;
    const steady_clock::time_point end = steady_clock::now() + limit;
    while (!condition()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
        if (left.count() <= 0 || !dispatch(left))
            return condition();
    }
    return true;
}

} // namespace qm
