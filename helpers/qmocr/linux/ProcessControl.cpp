#include "helpers/qmocr/ProcessControl.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <poll.h>
#include <thread>

namespace qm::ocr {

void endWhenHungUp(int descriptor)
{
    std::thread([descriptor] {
        pollfd watched{descriptor, 0, 0}; // poll(2): hang-up and error are always reported
        for (;;) {
            if (poll(&watched, 1, -1) < 0 && errno != EINTR)
                return;
            if (watched.revents & POLLNVAL)
                return;
            if (watched.revents & (POLLHUP | POLLERR))
                std::_Exit(0);
        }
    }).detach();
}

std::chrono::milliseconds processorTime(qint64 process)
{
    clockid_t clock;
    timespec used{};
    if (clock_getcpuclockid(pid_t(process), &clock) != 0 || clock_gettime(clock, &used) != 0)
        return {};
    return std::chrono::milliseconds(used.tv_sec * 1000 + used.tv_nsec / 1'000'000);
}

} // namespace qm::ocr
