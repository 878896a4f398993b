#include "helpers/wayland/desktop/UserBus.h"

#include <QDeadlineTimer>

namespace qm {

void readEntries(sd_bus_message *message, const std::function<bool(std::string_view key, std::string_view type)> &read)
{
    if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0)
        return;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char *key = nullptr, *type = nullptr;
        if (sd_bus_message_read(message, "s", &key) < 0)
            return;
        sd_bus_message_peek_type(message, nullptr, &type);
        if (!read(key, type ? type : ""))
            sd_bus_message_skip(message, "v");
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
}

UserBus::UserBus()
{
    sd_bus *bus = nullptr;
    if (sd_bus_open_user(&bus) >= 0)
        m_bus.reset(bus);
}

BusMessage UserBus::newCall(const char *service, const char *path, const char *interface, const char *method) const
{
    sd_bus_message *message = nullptr;
    if (get())
        sd_bus_message_new_method_call(get(), &message, service, path, interface, method);
    return BusMessage(message);
}

BusMessage UserBus::call(const BusMessage &message, std::chrono::milliseconds limit) const
{
    sd_bus_message *answer = nullptr;
    if (message)
        sd_bus_call(get(), message.get(), uint64_t(std::chrono::microseconds(limit).count()), nullptr, &answer);
    return BusMessage(answer);
}

void UserBus::tell(const BusMessage &message) const
{
    if (message && sd_bus_message_set_expect_reply(message.get(), 0) >= 0)
        sd_bus_send(get(), message.get(), nullptr);
}

bool UserBus::waitFor(const std::function<bool()> &condition, std::chrono::milliseconds limit) const
{
    const QDeadlineTimer deadline(limit);
    while (!condition()) {
        const int handled = get() ? sd_bus_process(get(), nullptr) : -1;
        if (handled > 0)
            continue;
        if (handled < 0 || deadline.hasExpired())
            return false;
        sd_bus_wait(get(), uint64_t(deadline.remainingTime()) * 1000);
    }
    return true;
}

} // namespace qm
