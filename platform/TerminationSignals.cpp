#include "platform/TerminationSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace qm {

static std::atomic<bool> signalReceived = false;
static int wakeUpPipe[2] = {-1, -1};

static void handleSignal(int)
{
    const int error = errno;
    signalReceived = true;
    [[maybe_unused]] const ssize_t written = write(wakeUpPipe[1], "", 1);
    errno = error;
}

void TerminationSignals::defer()
{
    if (pipe(wakeUpPipe) != 0)
        return;
    for (const int end : wakeUpPipe)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    struct sigaction action = {};
    action.sa_handler = handleSignal;
    action.sa_flags = int(SA_RESTART | SA_RESETHAND);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaction(signal, &action, nullptr);
}

bool TerminationSignals::received()
{
    return signalReceived;
}

void TerminationSignals::whenReceived(std::function<void()> callback)
{
    if (wakeUpPipe[0] < 0)
        return;
    auto *notifier = new QSocketNotifier(wakeUpPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier, callback = std::move(callback)] {
        notifier->setEnabled(false);
        callback();
    });
}

} // namespace qm
