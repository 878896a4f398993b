#pragma once

#include "helpers/qmscroll/wayland/ScrollWay.h"

namespace qm {

// GNOME, and whatever else has the desktop portal's screen casts: a stream of the part's monitor, and the user's own wheel. The
// user is asked once for each monitor, if the dialog's "remember" is left on.
//
// A frame comes when something has changed, some 30 ms after that. Without a change there is no telling whether one is under
// way: that is why nothing may turn the wheel here and wait for rest.
extern const ScrollWay castWay;

} // namespace qm
