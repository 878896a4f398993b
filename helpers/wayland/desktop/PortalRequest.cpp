#include "helpers/wayland/desktop/PortalRequest.h"

#include <algorithm>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr char interface[] = "org.freedesktop.portal.Request";
constexpr auto startLimit = 10s; // for the portal itself, which the call may start
constexpr auto questionLimit = 60s;

std::string nextToken()
{
    static int count = 0;
    return "quillmere" + std::to_string(++count);
}

// Where the answer will come, which is known before the question is asked: it may come before the call returns.
std::string requestPath(const UserBus &bus, const std::string &token)
{
    const char *name = nullptr;
    if (!bus.get() || sd_bus_get_unique_name(bus.get(), &name) < 0)
        return {};
    std::string sender = name + 1; // without its colon
    std::replace(sender.begin(), sender.end(), '.', '_');
    return std::string(PortalRequest::object) + "/request/" + sender + '/' + token;
}

} // namespace

PortalRequest::PortalRequest(const UserBus &bus)
    : m_bus(bus)
    , m_token(nextToken())
    , m_path(requestPath(bus, m_token))
{
    sd_bus_slot *slot = nullptr;
    if (!m_path.empty() &&
        sd_bus_match_signal(bus.get(), &slot, nullptr, m_path.c_str(), interface, "Response", responded, this) >= 0)
        m_listening.reset(slot);
    const std::string owners =
        std::string("type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                    "member='NameOwnerChanged',arg0='") +
        service + '\'';
    if (m_listening && sd_bus_add_match(bus.get(), &slot, owners.c_str(), ownerChanged, this) >= 0)
        m_watching.reset(slot);
}

int PortalRequest::responded(sd_bus_message *message, void *request, sd_bus_error *)
{
    PortalRequest &self = *static_cast<PortalRequest *>(request);
    uint32_t code = 2;
    if (sd_bus_message_read(message, "u", &code) >= 0) {
        self.m_code = code;
        self.m_response.reset(sd_bus_message_ref(message));
    }
    return 0;
}

int PortalRequest::ownerChanged(sd_bus_message *message, void *request, sd_bus_error *)
{
    const char *name = nullptr, *before = nullptr;
    if (sd_bus_message_read(message, "ss", &name, &before) >= 0 && *before) // else the question has started it
        static_cast<PortalRequest *>(request)->m_hasLeft = true;
    return 0;
}

bool PortalRequest::send(const BusMessage &question)
{
    return m_listening && m_bus.call(question, startLimit);
}

std::optional<uint32_t> PortalRequest::wait()
{
    if (!m_bus.waitFor([this] { return m_code.has_value() || m_hasLeft; }, questionLimit))
        m_bus.call(m_bus.newCall(service, m_path.c_str(), interface, "Close"), startLimit); // or the dialog stays
    return m_code;
}

} // namespace qm
