#pragma once

#include "helpers/overlay/Monitors.h"

namespace qm {

class XConnection;

// The monitors reported by RandR 1.5, with their scales, without mirrored ones; a single one covering everything if it
// reports none.
QList<Monitor> x11Monitors(XConnection &server);

} // namespace qm
