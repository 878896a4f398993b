#include "platform/KeyMonitor.h"

#include "platform/ToolPaths.h"
#include "platform/linux/KeyMonitorWayland.h"
#include "platform/linux/KeyMonitorX11.h"

namespace qm {

std::unique_ptr<KeyMonitor> makeKeyMonitor()
{
    // An X server beside a Wayland compositor hears only what is typed into old programs.
    if (qEnvironmentVariable("QUILLMERE_DISPLAY") != QStringLiteral("x11") &&
        !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return makeKeyMonitorWayland(toolPaths().keys.value_or(QString()));
    return qEnvironmentVariableIsEmpty("DISPLAY") ? nullptr : makeKeyMonitorX11();
}

} // namespace qm
