#pragma once

#include "platform/CaptureRoad.h"

#include <QString>

namespace qm {

// What a road to pictures of the screen is called, in the user's language.
QString roadName(CaptureRoad::Kind road);

} // namespace qm
