#pragma once

#include "helpers/wayland/desktop/UserBus.h"

#include <optional>
#include <string>

namespace qm {

// A question that the desktop portal answers later, as someone may have to read it: org.freedesktop.portal.Request. One thread,
// which waits.
class PortalRequest
{
public:
    static constexpr char service[] = "org.freedesktop.portal.Desktop";
    static constexpr char object[] = "/org/freedesktop/portal/desktop";

    explicit PortalRequest(const UserBus &bus);
    PortalRequest(const PortalRequest &) = delete;
    PortalRequest &operator=(const PortalRequest &) = delete;

    const std::string &token() const { return m_token; } // the question's option "handle_token"

    bool send(const BusMessage &question); // false if the portal refuses, or there is none
    // The answer's code, within a minute: 0 is yes, 1 that the user has cancelled. std::nullopt if there is none, because the
    // portal has left the bus, or in time; the dialog is closed then.
    std::optional<uint32_t> wait();
    sd_bus_message *results() const { return m_response.get(); } // an a{sv} comes next

private:
    static int responded(sd_bus_message *message, void *request, sd_bus_error *);
    static int ownerChanged(sd_bus_message *message, void *request, sd_bus_error *);

    const UserBus &m_bus;
    const std::string m_token;
    std::string m_path;
    BusSlot m_listening, m_watching;
    BusMessage m_response;
    std::optional<uint32_t> m_code;
    bool m_hasLeft = false; // the portal that was asked
};

} // namespace qm
