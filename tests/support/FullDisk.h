#pragma once

#include <csignal>
#include <sys/resource.h>

namespace qm {

// While this lives, a file that this process writes to has no room beyond so many bytes: the write fails, as on a full disk.
class FullDisk
{
public:
    explicit FullDisk(rlim_t room = 0)
        : m_signal(std::signal(SIGXFSZ, SIG_IGN)) // setrlimit(2): would end the process
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit tight{room, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_signal);
    }
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

private:
    void (*m_signal)(int);
    rlimit m_before{};
};

} // namespace qm
