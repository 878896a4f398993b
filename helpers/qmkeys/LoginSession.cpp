#include "helpers/qmkeys/LoginSession.h"

#include <cstdlib>
#include <memory>
#include <systemd/sd-login.h>
#include <unistd.h>

namespace qm {

namespace {

std::string take(char *text)
{
    const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
    return text ? text : "";
}

// Programs that the user's service manager has started belong to no session, but to the user's desktop.
std::string ownSession()
{
    char *session = nullptr;
    if (sd_pid_get_session(0, &session) < 0 && sd_uid_get_display(getuid(), &session) < 0)
        return {};
    return take(session);
}

std::optional<std::string> seatInFront()
{
    const std::string session = ownSession();
    char *seat = nullptr;
    // Those without a seat, over a network say, are always active.
    if (session.empty() || sd_session_is_active(session.c_str()) <= 0 ||
        sd_session_get_seat(session.c_str(), &seat) < 0)
        return std::nullopt;
    return take(seat);
}

} // namespace

std::optional<LoginSession> followLogin()
{
    sd_login_monitor *monitor = nullptr;
    if (sd_login_monitor_new(nullptr, &monitor) < 0)
        return std::nullopt;
    const std::shared_ptr<sd_login_monitor> owned(monitor, &sd_login_monitor_unref);
    return LoginSession{sd_login_monitor_get_fd(monitor), [owned] {
                            sd_login_monitor_flush(owned.get());
                            return seatInFront();
                        }};
}

} // namespace qm
