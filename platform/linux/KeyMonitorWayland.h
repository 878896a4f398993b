#pragma once

#include "platform/KeyMonitor.h"

namespace qm {

// Wayland tells no program of keys that are pressed in another. Three ways are tried in this order, each while those before it
// do not work: qmkeys, where the administrator lets it read the keyboards; sway's bindings; shortcuts of the desktop's portal.
// A sway that does not answer is asked again each second for half a minute.
// keyProgram is the path of qmkeys, or empty.
std::unique_ptr<KeyMonitor> makeKeyMonitorWayland(const QString &keyProgram);

} // namespace qm
