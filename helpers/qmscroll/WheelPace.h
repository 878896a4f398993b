#pragma once

#include <chrono>
#include <cstdlib>

namespace qm {

// How fast the wheel is turned in the user's place.
namespace WheelPace {

// Between two of so many clicks. Chromium loses some of eight that come within a millisecond or two.
inline std::chrono::milliseconds interval(int clicks)
{
    constexpr int mostAtOnce = 4;
    return std::chrono::milliseconds(std::abs(clicks) > mostAtOnce ? 2 : 0);
}

} // namespace WheelPace
} // namespace qm
