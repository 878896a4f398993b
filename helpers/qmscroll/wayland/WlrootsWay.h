#pragma once

#include "helpers/qmscroll/wayland/ScrollWay.h"

namespace qm {

// sway, labwc, Hyprland and others: screencopy, and a virtual pointer.
extern const ScrollWay wlrootsWay;

} // namespace qm
