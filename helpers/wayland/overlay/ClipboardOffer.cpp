#include "helpers/wayland/overlay/ClipboardOffer.h"

#include "helpers/wayland/WaylandSeat.h"
#include "platform/wayland/CallingDeleter.h"
#include "platform/wayland/ReaderPipe.h"
#include "platform/wayland/WaylandServer.h"

#include <protocol/data-control.h>
#include <wayland-client-protocol.h>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto limit = 5s;

ClipboardOffer::ClipboardOffer(WaylandServer &server)
    : m_server(server)
    , m_manager(server.bind<wl_data_device_manager>(wl_data_device_manager_interface, 1))
{
}

std::unique_ptr<ClipboardOffer> ClipboardOffer::make(WaylandServer &server, const WaylandSeat &seat, uint32_t serial,
                                                     What what)
{
    const bool canApplication = qgetenv("QUILLMERE_DISPLAY") != "desktop" && // which wants what GNOME needs
                                !server.globals(zwlr_data_control_manager_v1_interface).empty();
    if (canApplication || !seat.handle())
        return nullptr;
    std::unique_ptr<ClipboardOffer> offer(new ClipboardOffer(server));
    if (!offer->m_manager)
        return nullptr;
    static const wl_data_source_listener listener = [] {
        wl_data_source_listener events = {};
        events.target = [](void *, wl_data_source *, const char *) {};
        events.send = [](void *self, wl_data_source *, const char *, int32_t to) {
            static_cast<ClipboardOffer *>(self)->send(to);
        };
        events.cancelled = [](void *self, wl_data_source *) { static_cast<ClipboardOffer *>(self)->m_isOver = true; };
        return events;
    }();
    offer->m_device = wl_data_device_manager_get_data_device(offer->m_manager, seat.handle());
    offer->m_source = wl_data_device_manager_create_data_source(offer->m_manager);
    wl_data_source_add_listener(offer->m_source, &listener, offer.get());
    if (what == What::picture) {
        wl_data_source_offer(offer->m_source, "image/png");
    } else {
        for (const char *type : {"text/plain;charset=utf-8", "UTF8_STRING", "text/plain"})
            wl_data_source_offer(offer->m_source, type);
    }
    wl_data_device_set_selection(offer->m_device, offer->m_source, serial);
    // Done before the overlay goes, and the keyboard with it. Who asks already is heard by deliver(): here no event is handled.
    const std::unique_ptr<wl_event_queue, CallingDeleter<wl_event_queue_destroy>> noEvents(
        wl_display_create_queue(server.get()));
    wl_display_roundtrip_queue(server.get(), noEvents.get());
    return offer;
}

ClipboardOffer::~ClipboardOffer()
{
    if (m_source)
        wl_data_source_destroy(m_source);
    if (m_device)
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(m_device)); // version 1 has no request for it
    if (m_manager)
        wl_data_device_manager_destroy(m_manager);
}

void ClipboardOffer::deliver(const QByteArray &content)
{
    m_content = content;
    m_server.waitFor([this] { return m_isOver; }, limit);
}

void ClipboardOffer::send(int to)
{
    writeToReader(to, {m_content.constData(), size_t(m_content.size())});
    m_isOver = true;
}

} // namespace qm
