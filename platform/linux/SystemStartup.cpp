#include "platform/SystemStartup.h"
#include "platform/x11/X11Server.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QThread>

#include <cerrno>
#include <chrono>
#include <systemd/sd-bus.h>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto busLimit = 5s; // one that works answers within milliseconds, while a session starts in a second

bool SystemStartup::hasDisplay()
{
    // Qt has been told where to draw, or will find out by itself.
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return true;
    return X11Server::connect().connection != nullptr;
}

// Only one that neither greets nor refuses is stuck; what else can be wrong with a bus Qt finds out at once.
static bool isSessionBusStuck()
{
    const QDeadlineTimer deadline(busLimit);
    sd_bus *bus = nullptr;
    int opened = 0;
    while ((opened = sd_bus_open_user(&bus)) == -EAGAIN && !deadline.hasExpired())
        QThread::msleep(10); // so many wait already that the system refuses one more
    if (opened < 0)
        return opened == -EAGAIN;
    bool isStuck = false;
    while (!isStuck && sd_bus_is_ready(bus) == 0) {
        const int handled = sd_bus_process(bus, nullptr);
        if (handled < 0)
            break;
        if (handled > 0)
            continue;
        isStuck = deadline.hasExpired(); // and nothing has come that is still to be read
        if (!isStuck)
            sd_bus_wait(bus, uint64_t(deadline.remainingTime()) * 1000);
    }
    sd_bus_close_unref(bus);
    return isStuck;
}

// libdbus waits without limit to be greeted, and Qt for libdbus, with the first who asks for the bus: Qt's theme or tray, or
// one of us. Qt asks once in a process and keeps the answer, which is what is made use of here. Programs that are started
// later inherit the true address: the bus may have recovered by then.
static void doWithoutSessionBus()
{
    const char *variable = "DBUS_SESSION_BUS_ADDRESS";
    const bool wasSet = qEnvironmentVariableIsSet(variable);
    const QByteArray address = qgetenv(variable);
    qputenv(variable, "unix:path=/dev/null/none");
    QDBusConnection::sessionBus();
    if (wasSet)
        qputenv(variable, address);
    else
        qunsetenv(variable);
}

bool SystemStartup::connectToSession()
{
    const bool isStuck = isSessionBusStuck();
    if (isStuck)
        doWithoutSessionBus();
    // Up to the first events after this, Qt keeps from itself what comes from the bus, its end included: a call on which the
    // bus dies, and Qt makes some while it starts, would never return.
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
    return !isStuck;
}

void SystemStartup::becomeAccessory() {}

void SystemStartup::askForAccessibility() {}

// Here another process starts and hands its command over.
void SystemStartup::whenOpenedAgain(const std::function<void()> &) {}

} // namespace qm
