#pragma once

#include <functional>
#include <memory>

namespace qm {

// Waits for a place where a tray icon can be shown. Qt looks for a StatusNotifier host once, at the first tray call of the
// process, and never again: so there must be no such call before a host is there. Main thread; stops waiting when it goes.
class TrayHost
{
public:
    virtual ~TrayHost() = default;
};

// Calls appeared once, from the event loop, as soon as there is a host: at the start, or whenever one comes.
std::unique_ptr<TrayHost> whenTrayHostAppears(std::function<void()> appeared);

bool trayOpensMenus(); // at a left click too, by itself

} // namespace qm
