#pragma once

#include "helpers/wayland/WaylandCurtain.h"

namespace qm {

// Asks the desktop for the pictures of all monitors: KWin itself, otherwise the portal.
WaylandCurtain::Frozen freezeByDesktop(const WaylandOutputs &outputs);

} // namespace qm
