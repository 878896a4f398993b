#pragma once

#include "helpers/qmscroll/wayland/RegionFrames.h"

#include <optional>

namespace qm {

// What to ask a compositor for that takes logical coordinates: compositors differ in how they round.
struct WholePixels {
    QRect logical; // relative to the monitor's corner
    QPoint part;   // where the part begins in it, pixels
};

// The smallest rectangle around a part that consists of whole pixels. std::nullopt if only the whole monitor will do.
std::optional<WholePixels> wholePixelsAround(const RegionPart &part);

} // namespace qm
