#pragma once

#include "helpers/wayland/OutputPicture.h"
#include "helpers/wayland/WaylandOutputs.h"

#include <QImage>

namespace qm {

class UserBus;

// KWin's own service for screenshots, org.kde.KWin.ScreenShot2, version 1 and later. It serves programs whose desktop file says
// so: X-KDE-DBUS-Restricted-Interfaces.
namespace KWinScreenShot {

// One picture for each output. Empty if there is no such service, or it refuses.
std::vector<OutputPicture> take(const UserBus &bus, const WaylandOutputs &outputs);
// A window by itself, whatever covers it, with its decoration; before version 6 of KWin with its shadow. Premultiplied, of the
// pixels of its monitor. id: as KWinWindows has it. Null if it is not there any more.
QImage takeWindow(const UserBus &bus, const std::string &id);

} // namespace KWinScreenShot
} // namespace qm
