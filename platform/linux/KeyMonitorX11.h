#pragma once

#include "platform/KeyMonitor.h"

namespace qm {

std::unique_ptr<KeyMonitor> makeKeyMonitorX11(); // of the display that DISPLAY names

} // namespace qm
