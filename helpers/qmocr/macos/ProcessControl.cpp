#include "helpers/qmocr/ProcessControl.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <libproc.h>
#include <mach/mach_time.h>
#include <sys/event.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace qm::ocr {

// Uses kqueue(2): poll(2) here reports a hang-up only along with readiness, which there always is.
void endWhenHungUp(int descriptor)
{
    std::thread([descriptor] {
        const int queue = kqueue();
        const bool isInput = (fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY;
        struct kevent watched;
        EV_SET(&watched, uintptr_t(descriptor), isInput ? EVFILT_READ : EVFILT_WRITE, EV_ADD | EV_CLEAR, 0, 0, nullptr);
        if (queue < 0)
            return;
        if (kevent(queue, &watched, 1, nullptr, 0, nullptr) < 0) {
            if (errno == EPIPE) // already hung up
                std::_Exit(0);
            return;
        }
        for (;;) {
            struct kevent told;
            const int count = kevent(queue, nullptr, 0, &told, 1, nullptr);
            if (count < 0 && errno != EINTR)
                return;
            if (count > 0 && told.flags & EV_EOF)
                std::_Exit(0);
        }
    }).detach();
}

std::chrono::milliseconds processorTime(qint64 process)
{
    rusage_info_v0 used{};
    mach_timebase_info_data_t unit{};
    if (proc_pid_rusage(int(process), RUSAGE_INFO_V0, reinterpret_cast<rusage_info_t *>(&used)) != 0 ||
        mach_timebase_info(&unit) != KERN_SUCCESS)
        return {};
    // In ticks of the system clock, which are nanoseconds only on Intel processors.
    const double nanoseconds = double(used.ri_user_time + used.ri_system_time) * unit.numer / unit.denom;
    return std::chrono::milliseconds(qint64(nanoseconds / 1'000'000));
}

} // namespace qm::ocr
