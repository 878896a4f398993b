#include "helpers/wayland/SwayWindows.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace qm {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

constexpr auto patience = 200ms;
constexpr uint32_t getTree = 4;
constexpr uint32_t largestTree = 16 << 20; // bytes

// Both directions, in the byte order of the machine.
struct Header {
    std::array<char, 6> magic = {'i', '3', '-', 'i', 'p', 'c'};
    uint32_t length = 0;
    uint32_t type = getTree;
} __attribute__((packed));

// False if it does not all arrive in time.
bool receive(int socket, void *to, size_t count, steady_clock::time_point end)
{
    for (size_t received = 0; received < count;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
        pollfd events = {socket, POLLIN, 0};
        if (left.count() <= 0 || poll(&events, 1, int(left.count())) <= 0)
            return false;
        const ssize_t got = read(socket, static_cast<char *>(to) + received, count - received);
        if (got <= 0)
            return false;
        received += size_t(got);
    }
    return true;
}

std::string askForTree(int socket)
{
    const steady_clock::time_point end = steady_clock::now() + patience;
    Header header;
    if (send(socket, &header, sizeof header, MSG_NOSIGNAL) != ssize_t(sizeof header) ||
        !receive(socket, &header, sizeof header, end) || header.type != getTree || header.length > largestTree)
        return {};
    std::string tree(header.length, '\0');
    return receive(socket, tree.data(), tree.size(), end) ? tree : std::string();
}

} // namespace

std::string swayTree()
{
    const char *path = std::getenv("SWAYSOCK");
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    if (!path || std::strlen(path) >= sizeof address.sun_path)
        return {};
    std::strcpy(address.sun_path, path);
    const int channel = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (channel < 0)
        return {};
    std::string tree;
    if (connect(channel, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        tree = askForTree(channel);
    close(channel);
    return tree;
}

} // namespace qm
