#pragma once

#include "helpers/qmscroll/wayland/ScrollWay.h"

namespace qm {

// KWin: its screenshots, and its protocol fake-input. It offers both only to programs whose desktop file asks for them:
// X-KDE-DBUS-Restricted-Interfaces, X-KDE-Wayland-Interfaces.
extern const ScrollWay kwinWay;

} // namespace qm
