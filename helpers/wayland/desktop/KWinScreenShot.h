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
// One monitor, by its name, and a part of the screen in the compositor's coordinates: in the finest scale of the monitors it
// lies on, and exact where its corner lies on a whole pixel. RGB32. Null as above, or if nothing lies there.
QImage takeMonitor(const UserBus &bus, const std::string &name);
QImage takeArea(const UserBus &bus, const QRect &area);
// A window by itself, whatever covers it, with its decoration; before version 6 of KWin with its shadow. Premultiplied, of the
// pixels of its monitor. id: as KWinWindows has it. Null if it is not there any more.
QImage takeWindow(const UserBus &bus, const std::string &id);

} // namespace KWinScreenShot
} // namespace qm
