#pragma once

#include "helpers/qmscroll/wayland/RegionFrames.h"

#include <QString>

#include <memory>

namespace qm {

// The desktop portal's stream of the part's monitor. The user is asked once for each monitor, if the dialog's "remember" is left
// on. Null if the user said no, and, with a reason, if the desktop gives nothing, or another monitor.
//
// A frame comes when something has changed, some 50 to 100 ms after that. Without a change there is no telling whether one is
// under way.
std::unique_ptr<RegionFrames> openCastFrames(const RegionPart &part, QString *failure);

} // namespace qm
