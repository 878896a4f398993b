#pragma once

#include "helpers/overlay/Monitors.h"

namespace qm {

class XConnection;

// The monitors as RandR 1.5 tells them, with their scales, those that show the same left out; one over everything where it
// tells none.
QList<Monitor> x11Monitors(XConnection &server);

} // namespace qm
