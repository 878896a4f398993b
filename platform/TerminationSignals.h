#pragma once

#include <functional>

namespace qm {

// Being asked to end by a signal: SIGTERM (log-out, a service manager), SIGINT (Ctrl+C) or SIGHUP (a terminal that
// closes). Work in hand gets the chance to store what it has; the same signal a second time ends the process at once.
namespace TerminationSignals {

void defer();    // from now on they no longer end the process; once, before threads are started
bool received(); // any thread

// Calls back on the main thread, which needs an event loop and an application object. After defer().
void whenReceived(std::function<void()> callback);

} // namespace TerminationSignals
} // namespace qm
