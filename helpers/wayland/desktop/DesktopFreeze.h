#pragma once

#include "helpers/wayland/WaylandCurtain.h"

#include <QString>

namespace qm {

// Asks the desktop for the pictures of all monitors: KWin itself, otherwise the portal. Where that refuses, its dialog is left,
// and for a window also where nobody knows the windows. Nobody is asked about them where nothing is left to choose.
enum class FreezeFor { noChoice, region, window };
WaylandCurtain::Frozen freezeByDesktop(const WaylandOutputs &outputs, FreezeFor what);

QString noPictureOfScreen(); // the reason where none of these gives one

} // namespace qm
