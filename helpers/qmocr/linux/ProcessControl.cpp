#include "helpers/qmocr/ProcessControl.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

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

void confineWorker(quint64 memoryLimit)
{
    setpriority(PRIO_PROCESS, 0, 10);
    const rlimit memory{rlim_t(memoryLimit), rlim_t(memoryLimit)};
    setrlimit(RLIMIT_AS, &memory);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC); // proc(5): raising it needs no privilege
    if (file >= 0) {
        [[maybe_unused]] const ssize_t written = write(file, "1000", 4);
        close(file);
    }
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
