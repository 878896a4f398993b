#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qm {

// A connection to sway's IPC (sway-ipc(7)), which SWAYSOCK names. One thread. Payloads are JSON or sway's commands.
class SwayIpc
{
public:
    enum Type : uint32_t {
        runCommand = 0,
        subscribe = 2,
        getTree = 4,
        workspaceEvent = 0x80000000,
        bindingEvent = 0x80000005,
    };
    struct Message {
        uint32_t type = 0;
        std::string payload;
    };

    static bool isHere();                      // whether the session names one, however busy it is
    static std::unique_ptr<SwayIpc> connect(); // null if the compositor is another one, or takes no more connections
    ~SwayIpc();
    SwayIpc(const SwayIpc &) = delete;
    SwayIpc &operator=(const SwayIpc &) = delete;

    int descriptor() const { return m_socket; }

    // The answer; on a connection without events. std::nullopt if none comes in time; then the connection is of no more use.
    std::optional<std::string> ask(Type type, std::string_view payload = {});
    std::optional<Message> receive(std::chrono::milliseconds patience); // the same of what comes by itself

private:
    explicit SwayIpc(int socket)
        : m_socket(socket)
    {
    }

    const int m_socket;
};

} // namespace qm
