#pragma once

#include <algorithm>
#include <cmath>

namespace qm {

// A length in points at a monitor's scale, in whole pixels; what is there at all has at least one.
inline int pixels(double points, double scale)
{
    return std::max(1, int(std::lround(points * scale)));
}

} // namespace qm
