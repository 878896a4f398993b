#pragma once

#include "app/Command.h"

#include <QLocalServer>

#include <functional>

namespace qm {

// One instance a user: the first listens on a local socket that only its owner can open, every later start hands its
// command over and ends. Main thread.
class SingleInstance
{
public:
    using Received = std::function<void(const Command &)>;

    // True when a running instance has taken the command.
    static bool handOver(const Command &command);

    // Becomes the instance that listens. False when another start was quicker: hand over to that one. Where no socket can be
    // made at all the application runs without; messages that are no command, or too long for one, are dropped.
    bool listen(Received received);

private:
    void serve();

    QLocalServer m_server;
    Received m_received;
};

} // namespace qm
