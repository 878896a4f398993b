#include "helpers/qmkeys/KeysProgram.h"

#include "helpers/qmkeys/Confinement.h"
#include "helpers/qmkeys/InputDevices.h"

#include <cerrno>
#include <string_view>
#include <unistd.h>

namespace qm {

namespace {

int complain(std::string_view why)
{
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, why.data(), why.size());
    return 1;
}

// False if nobody takes them: whoever has stopped reading shall not be told later what was pressed meanwhile.
bool tell(std::string_view lines)
{
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    return lines.empty() || (poll(&output, 1, 0) == 1 && output.revents == POLLOUT &&
                             write(STDOUT_FILENO, lines.data(), lines.size()) == ssize_t(lines.size()));
}

} // namespace

int runKeys(const std::optional<LoginSession> &session, std::initializer_list<int> moreCalls)
{
    if (!session)
        return complain("qmkeys: there is no login manager to tell whose keyboard it is\n");
    InputDevices devices;
    if (!devices.isWatching() || !Confinement::enter(moreCalls))
        return complain("qmkeys: the system does not let it watch devices, or give up its other rights\n");

    std::string lines = devices.setSeat(std::nullopt); // only whether it may
    lines += devices.setSeat(session->activeSeat());
    bool isReady = false;
    for (;;) {
        if (devices.access() == InputDevices::Access::refused)
            return complain("qmkeys: keyboards may not be read\n");
        if (!isReady && devices.access() == InputDevices::Access::granted) {
            isReady = true;
            lines.insert(0, "ready\n");
        }
        if (!tell(lines))
            return 0;
        lines.clear();

        std::vector<pollfd> waiting = {{STDOUT_FILENO, 0, 0}, {session->descriptor, POLLIN, 0}};
        devices.addTo(waiting);
        if (poll(waiting.data(), nfds_t(waiting.size()), -1) < 0 && errno != EINTR)
            return complain("qmkeys: waiting failed\n");
        if (waiting[0].revents != 0 || (waiting[1].revents & ~POLLIN) != 0)
            return 0;
        if (waiting[1].revents != 0)
            lines += devices.setSeat(session->activeSeat());
        for (size_t i = 2; i < waiting.size(); ++i) {
            if (waiting[i].revents != 0)
                lines += devices.read(waiting[i].fd);
        }
    }
}

} // namespace qm
