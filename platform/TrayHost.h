#pragma once

#include <functional>
#include <memory>

namespace qm {

// Waits until a tray icon can be shown. Qt looks for a StatusNotifier host once, at the first tray call of the process,
// and never again: make no such call before a host exists. Main thread; destroy it to stop waiting.
class TrayHost
{
public:
    virtual ~TrayHost() = default;
};

// Calls appeared once, from the event loop, as soon as there is a host: at start or whenever one appears.
std::unique_ptr<TrayHost> whenTrayHostAppears(std::function<void()> appeared);

bool trayOpensMenus(); // true if the tray itself opens the menu on a left click

} // namespace qm
