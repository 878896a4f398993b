#pragma once

#include "helpers/wayland/OutputPicture.h"
#include "helpers/wayland/WaylandOutputs.h"

namespace qm {

class UserBus;

// KWin's own service for screenshots, org.kde.KWin.ScreenShot2, version 1 and later. It serves programs whose desktop file says
// so: X-KDE-DBUS-Restricted-Interfaces.
namespace KWinScreenShot {

// One picture for each output. Empty if there is no such service, or it refuses.
std::vector<OutputPicture> take(const UserBus &bus, const WaylandOutputs &outputs);

} // namespace KWinScreenShot
} // namespace qm
