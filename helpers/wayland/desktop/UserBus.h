#pragma once

#include "platform/wayland/CallingDeleter.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string_view>
#include <systemd/sd-bus.h>

namespace qm {

using BusMessage = std::unique_ptr<sd_bus_message, CallingDeleter<sd_bus_message_unref>>;
using BusSlot = std::unique_ptr<sd_bus_slot, CallingDeleter<sd_bus_slot_unref>>;

// Goes through the dictionary a{sv} that comes next in a message. For each entry `read` gets the key and the type of its content,
// and reads the variant, or returns false: then it is passed over.
void readEntries(sd_bus_message *message, const std::function<bool(std::string_view key, std::string_view type)> &read);

// The session bus, without an event loop. One thread, which waits.
class UserBus
{
public:
    UserBus();
    sd_bus *get() const { return m_bus.get(); } // null if there is none

    // A call without arguments yet; null without a bus.
    BusMessage newCall(const char *service, const char *path, const char *interface, const char *method) const;
    // The answer. Null if there is none in time, or it is an error.
    BusMessage call(const BusMessage &message, std::chrono::milliseconds limit) const;
    // A call whose answer nobody needs; what cannot be written at once is when the bus is left.
    void tell(const BusMessage &message) const;
    // Handles what comes until a condition holds, what has come already even without time. False if it does not in time.
    bool waitFor(const std::function<bool()> &condition, std::chrono::milliseconds limit) const;

private:
    std::unique_ptr<sd_bus, CallingDeleter<sd_bus_flush_close_unref>> m_bus;
};

} // namespace qm
