#pragma once

#include "app/Command.h"

#include <QLocalServer>

#include <functional>

namespace qm {

// One instance per user: the first listens on a local socket that only its owner can open; every later start hands its
// command over and exits. Main thread.
class SingleInstance
{
public:
    using Received = std::function<void(const Command &)>;

    // Returns true if a running instance took the command.
    static bool handOver(const Command &command);

    // Becomes the listening instance. Returns false if another start was quicker: hand over to that one. If no socket
    // can be created, the application runs without one. Invalid or oversized messages are dropped.
    bool listen(Received received);

private:
    void serve();

    QLocalServer m_server;
    Received m_received;
};

} // namespace qm
