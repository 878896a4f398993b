#pragma once

#include <algorithm>
#include <cmath>

namespace qm {

// Converts a length in points to whole pixels, at least one.
inline int pixels(double points, double scale)
{
    return std::max(1, int(std::lround(points * scale)));
}

} // namespace qm
