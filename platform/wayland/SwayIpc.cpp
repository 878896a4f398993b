#include "platform/wayland/SwayIpc.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace qm {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

constexpr auto answerPatience = 200ms;
constexpr uint32_t largestPayload = 16 << 20; // bytes

// Both directions, in the byte order of the machine.
struct Header {
    std::array<char, 6> magic = {'i', '3', '-', 'i', 'p', 'c'};
    uint32_t length = 0;
    uint32_t type = 0;
} __attribute__((packed));

// False if it does not all arrive in time.
bool receiveAll(int socket, void *to, size_t count, steady_clock::time_point end)
{
    for (size_t received = 0; received < count;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
        pollfd events = {socket, POLLIN, 0};
        if (poll(&events, 1, int(std::max<int64_t>(left.count(), 0))) <= 0)
            return false;
        const ssize_t got = read(socket, static_cast<char *>(to) + received, count - received);
        if (got <= 0)
            return false;
        received += size_t(got);
    }
    return true;
}

} // namespace

bool SwayIpc::isHere()
{
    const char *path = std::getenv("SWAYSOCK");
    return path && *path;
}

std::unique_ptr<SwayIpc> SwayIpc::connect()
{
    const char *path = std::getenv("SWAYSOCK");
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    if (!path || std::strlen(path) >= sizeof address.sun_path)
        return nullptr;
    std::memcpy(address.sun_path, path, std::strlen(path) + 1);
    const int channel = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (channel < 0)
        return nullptr;
    std::unique_ptr<SwayIpc> ipc(new SwayIpc(channel));
    // Where some connections wait to be accepted already, a further one is not even begun.
    const timeval patience = {.tv_sec = 0, .tv_usec = std::chrono::microseconds(answerPatience).count()};
    setsockopt(channel, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    return ::connect(channel, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ? std::move(ipc)
                                                                                                 : nullptr;
}

SwayIpc::~SwayIpc()
{
    close(m_socket);
}

std::optional<std::string> SwayIpc::ask(Type type, std::string_view payload)
{
    Header header;
    header.length = uint32_t(payload.size());
    header.type = type;
    std::string request(reinterpret_cast<const char *>(&header), sizeof header);
    request += payload;
    if (send(m_socket, request.data(), request.size(), MSG_NOSIGNAL) != ssize_t(request.size()))
        return std::nullopt;
    std::optional<Message> answer = receive(answerPatience);
    return answer && answer->type == type ? std::optional(std::move(answer->payload)) : std::nullopt;
}

std::optional<SwayIpc::Message> SwayIpc::receive(std::chrono::milliseconds patience)
{
    const steady_clock::time_point end = steady_clock::now() + patience;
    Header header;
    if (!receiveAll(m_socket, &header, sizeof header, end) || header.length > largestPayload)
        return std::nullopt;
    Message message = {header.type, std::string(header.length, '\0')};
    if (!receiveAll(m_socket, message.payload.data(), message.payload.size(), end))
        return std::nullopt;
    return message;
}

} // namespace qm
