#include "platform/wayland/ReaderPipe.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace qm {

static constexpr int limit = 30'000; // ms; for a program that asked for content and does not read it

void writeToReader(int pipe, std::span<const char> bytes)
{
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE); // ends the process where it is not blocked
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    fcntl(pipe, F_SETFL, O_NONBLOCK);
    while (!bytes.empty()) {
        pollfd ready = {pipe, POLLOUT, 0};
        const int count = poll(&ready, 1, limit);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        const ssize_t written = write(pipe, bytes.data(), bytes.size());
        if (written < 0 && errno != EAGAIN && errno != EINTR)
            break; // it has enough, or has gone
        bytes = bytes.subspan(size_t(std::max<ssize_t>(written, 0)));
    }
    close(pipe);
}

} // namespace qm
