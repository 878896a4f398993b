#pragma once

#include <cstddef>
#include <cstdint>

namespace qm {

// Alpha of the dimming, of 255: dark enough to set a selection off, light enough to read what one aims at.
inline constexpr uint8_t dimAlpha = 96;

// Dims a pixel. Rounds like the usual implementation of X's Render extension, so that areas dimmed by the server and areas
// painted by the overlay match.
constexpr uint32_t dimmed(uint32_t pixel)
{
    constexpr uint32_t kept = 255 - dimAlpha;
    uint32_t redBlue = (pixel & 0xff00ff) * kept + 0x800080;
    uint32_t green = (pixel >> 8 & 0xff) * kept + 0x80;
    redBlue = (redBlue + (redBlue >> 8 & 0xff00ff)) >> 8 & 0xff00ff;
    green = (green + (green >> 8)) & 0xff00;
    return 0xff000000 | redBlue | green;
}

void dim(uint32_t *to, const uint32_t *from, size_t count); // pixels

} // namespace qm
