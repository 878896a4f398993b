#pragma once

#include "helpers/qmscroll/wayland/ScrollWay.h"

namespace qm {

// GNOME, and whatever else has the desktop portal's screen casts; and the user's own wheel. Nothing may turn the wheel here and
// wait for rest: frames come late.
extern const ScrollWay castWay;

} // namespace qm
