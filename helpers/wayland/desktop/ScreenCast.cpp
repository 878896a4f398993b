#include "helpers/wayland/desktop/ScreenCast.h"

#include "helpers/wayland/desktop/PortalRequest.h"

#include <fcntl.h>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr char interface[] = "org.freedesktop.portal.ScreenCast";
constexpr char sessions[] = "org.freedesktop.portal.Session";
constexpr auto limit = 10s; // of what nobody is asked about
constexpr uint32_t monitors = 1, hidden = 1, untilRevoked = 2;

BusMessage newCall(const UserBus &bus, const char *method)
{
    return bus.newCall(PortalRequest::service, PortalRequest::object, interface, method);
}

// True if it was read.
bool readText(sd_bus_message *message, std::string_view type, std::string *text)
{
    const char *read = nullptr;
    if (type != "s" || sd_bus_message_read(message, "v", "s", &read) <= 0)
        return false;
    *text = read;
    return true;
}

} // namespace

bool ScreenCast::isOffered()
{
    const UserBus bus;
    const BusMessage question =
        bus.newCall(PortalRequest::service, PortalRequest::object, "org.freedesktop.DBus.Properties", "Get");
    uint32_t kinds = 0;
    if (!question || sd_bus_message_append(question.get(), "ss", interface, "AvailableSourceTypes") < 0)
        return false;
    const BusMessage answer = bus.call(question, limit);
    return answer && sd_bus_message_read(answer.get(), "v", "u", &kinds) > 0 && (kinds & monitors) != 0;
}

ScreenCast::ScreenCast() = default;

ScreenCast::~ScreenCast()
{
    end();
}

ScreenCast::Begun ScreenCast::begin(const std::string &token)
{
    end();
    if (!createSession())
        return Begun::no;
    // What is not a token at all is refused, while an old one is passed over.
    const bool isSelected = selectMonitor(token) || (!token.empty() && selectMonitor({}));
    return isSelected ? start() : Begun::no;
}

bool ScreenCast::createSession()
{
    PortalRequest request(m_bus);
    const BusMessage question = newCall(m_bus, "CreateSession");
    if (!question || sd_bus_message_append(question.get(), "a{sv}", 2, "handle_token", "s", request.token().c_str(),
                                           "session_handle_token", "s", request.token().c_str()) < 0)
        return false;
    if (!request.send(question) || request.wait() != 0U)
        return false;
    readEntries(request.results(), [&](std::string_view key, std::string_view type) {
        return key == "session_handle" && readText(request.results(), type, &m_session);
    });
    const auto closed = [](sd_bus_message *, void *hasEnded, sd_bus_error *) {
        *static_cast<bool *>(hasEnded) = true;
        return 0;
    };
    sd_bus_slot *slot = nullptr;
    if (m_session.empty() || sd_bus_match_signal(m_bus.get(), &slot, nullptr, m_session.c_str(), sessions, "Closed",
                                                 closed, &m_hasEnded) < 0)
        return false;
    m_listening.reset(slot);
    return true;
}

bool ScreenCast::selectMonitor(const std::string &token)
{
    PortalRequest request(m_bus);
    const BusMessage question = newCall(m_bus, "SelectSources");
    if (!question || sd_bus_message_append(question.get(), "o", m_session.c_str()) < 0 ||
        sd_bus_message_open_container(question.get(), 'a', "{sv}") < 0 ||
        sd_bus_message_append(question.get(), "{sv}", "handle_token", "s", request.token().c_str()) < 0 ||
        sd_bus_message_append(question.get(), "{sv}", "types", "u", monitors) < 0 ||
        sd_bus_message_append(question.get(), "{sv}", "cursor_mode", "u", hidden) < 0 ||
        sd_bus_message_append(question.get(), "{sv}", "persist_mode", "u", untilRevoked) < 0 ||
        (!token.empty() && sd_bus_message_append(question.get(), "{sv}", "restore_token", "s", token.c_str()) < 0) ||
        sd_bus_message_close_container(question.get()) < 0)
        return false;
    return request.send(question) && request.wait() == 0U;
}

ScreenCast::Begun ScreenCast::start()
{
    PortalRequest request(m_bus);
    const BusMessage question = newCall(m_bus, "Start");
    if (!question || sd_bus_message_append(question.get(), "osa{sv}", m_session.c_str(), "", 1, "handle_token", "s",
                                           request.token().c_str()) < 0)
        return Begun::no;
    if (!request.send(question))
        return Begun::no;
    const std::optional<uint32_t> answer = request.wait();
    if (answer == 0U)
        readStream(request.results());
    return answer == 1U ? Begun::cancelled : m_node == 0 ? Begun::no : Begun::yes;
}

// There is one, since not more were asked for.
void ScreenCast::readStream(sd_bus_message *results)
{
    readEntries(results, [&](std::string_view key, std::string_view type) {
        if (key == "restore_token")
            return readText(results, type, &m_nextToken);
        if (key != "streams" || type != "a(ua{sv})")
            return false;
        sd_bus_message_enter_container(results, 'v', "a(ua{sv})");
        sd_bus_message_enter_container(results, 'a', "(ua{sv})");
        while (sd_bus_message_enter_container(results, 'r', "ua{sv}") > 0) {
            sd_bus_message_read(results, "u", &m_node);
            readEntries(results, [&](std::string_view name, std::string_view content) {
                int32_t x = 0, y = 0;
                if (name != "position" || content != "(ii)" || sd_bus_message_read(results, "v", "(ii)", &x, &y) <= 0)
                    return false;
                m_place = QPoint(x, y);
                return true;
            });
            sd_bus_message_exit_container(results);
        }
        sd_bus_message_exit_container(results);
        sd_bus_message_exit_container(results);
        return true;
    });
}

int ScreenCast::openRemote() const
{
    const BusMessage question = newCall(m_bus, "OpenPipeWireRemote");
    int remote = -1;
    if (!question || sd_bus_message_append(question.get(), "oa{sv}", m_session.c_str(), 0) < 0)
        return -1;
    const BusMessage answer = m_bus.call(question, limit);
    if (!answer || sd_bus_message_read(answer.get(), "h", &remote) <= 0)
        return -1;
    return fcntl(remote, F_DUPFD_CLOEXEC, 3); // the answer keeps its own
}

bool ScreenCast::hasEnded() const
{
    return m_bus.waitFor([this] { return m_hasEnded; }, 0ms);
}

void ScreenCast::end()
{
    m_listening.reset();
    if (!m_session.empty())
        m_bus.tell(m_bus.newCall(PortalRequest::service, m_session.c_str(), sessions, "Close"));
    m_session.clear();
    m_node = 0;
    m_place.reset();
    m_nextToken.clear();
    m_hasEnded = false;
}

} // namespace qm
