#include "platform/SystemStartup.h"
#include "platform/x11/X11Server.h"

#include <QtGlobal>

namespace qm {

bool SystemStartup::hasDisplay()
{
    // Qt has been told where to draw, or will find out by itself.
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return true;
    return X11Server::connect().connection != nullptr;
}

void SystemStartup::becomeAccessory() {}

void SystemStartup::askForAccessibility() {}

// Here another process starts and hands its command over.
void SystemStartup::whenOpenedAgain(const std::function<void()> &) {}

} // namespace qm
