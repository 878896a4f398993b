#include "helpers/wayland/OutputPicture.h"

#include <algorithm>
#include <new>
#include <wayland-client-protocol.h>

namespace qm {

namespace {

// Calls use with the function that makes our pixel of one in this format; every format's is a type of its own, so that the
// loops over a monitor's pixels are compiled for each. False if the format is unknown.
template<class Use>
bool withConversionFrom(uint32_t format, const Use &use)
{
    switch (format) {
    case WL_SHM_FORMAT_XRGB8888:
    case WL_SHM_FORMAT_ARGB8888: use([](uint32_t p) { return p | 0xff000000; }); return true;
    case WL_SHM_FORMAT_XBGR8888:
    case WL_SHM_FORMAT_ABGR8888:
        use([](uint32_t p) { return 0xff000000 | (p & 0xff) << 16 | (p & 0xff00) | (p >> 16 & 0xff); });
        return true;
    case WL_SHM_FORMAT_XRGB2101010:
    case WL_SHM_FORMAT_ARGB2101010:
        use([](uint32_t p) { return 0xff000000 | (p >> 6 & 0xff0000) | (p >> 4 & 0xff00) | (p >> 2 & 0xff); });
        return true;
    case WL_SHM_FORMAT_XBGR2101010:
    case WL_SHM_FORMAT_ABGR2101010:
        use([](uint32_t p) { return 0xff000000 | (p << 14 & 0xff0000) | (p >> 4 & 0xff00) | (p >> 22 & 0xff); });
        return true;
    default: return false;
    }
}

} // namespace

// The transforms of the protocol turn by quarters against the clock, 4 to 7 after mirroring left and right: they say how the
// content was turned to suit the screen's own rows, and the pixels come in that order.
OutputPicture upright(const RawPicture &raw)
{
    if (!raw.pixels || raw.size.isEmpty())
        return {};
    const ptrdiff_t line = raw.bytesPerLine / 4;
    const bool isTurned = raw.transform % 2;
    OutputPicture picture;
    picture.size = isTurned ? QSize(raw.size.height(), raw.size.width()) : raw.size;
    if (raw.transform == 0 && !raw.isBottomUp) {
        picture.stride = int(line);
        picture.pixels = raw.pixels;
        const bool isKnown = withConversionFrom(raw.format, [&](auto convert) {
            for (int y = 0; y < picture.size.height(); ++y)
                std::transform(picture.row(y), picture.row(y) + picture.size.width(), picture.row(y), convert);
        });
        return isKnown ? picture : OutputPicture();
    }

    picture.stride = picture.size.width();
    picture.pixels.reset(new (std::nothrow) uint32_t[size_t(picture.stride) * size_t(picture.size.height())],
                         std::default_delete<uint32_t[]>());
    if (!picture.pixels)
        return {};
    // Where a pixel of the upright picture lies in the raw one: source = first + x * perX + y * perY.
    struct Point {
        int x, y;
    };
    const int lastRow = raw.size.height() - 1;
    const auto source = [&](int x, int y) -> Point {
        const int w = picture.size.width() - 1, h = picture.size.height() - 1;
        if (raw.transform >= 4)
            x = w - x; // mirrored first
        switch (raw.transform % 4) {
        case 1: return {y, w - x};
        case 2: return {w - x, h - y};
        case 3: return {h - y, x};
        default: return {x, y};
        }
    };
    const auto offset = [&](int x, int y) {
        const Point at = source(x, y);
        return ptrdiff_t(raw.isBottomUp ? lastRow - at.y : at.y) * line + at.x;
    };
    const ptrdiff_t first = offset(0, 0);
    const ptrdiff_t perX = picture.size.width() > 1 ? offset(1, 0) - first : 0;
    const ptrdiff_t perY = picture.size.height() > 1 ? offset(0, 1) - first : 0;
    const bool isKnown = withConversionFrom(raw.format, [&](auto convert) {
        for (int y = 0; y < picture.size.height(); ++y) {
            const uint32_t *from = raw.pixels.get() + first + y * perY;
            for (int x = 0; x < picture.size.width(); ++x)
                picture.row(y)[x] = convert(from[x * perX]);
        }
    });
    return isKnown ? picture : OutputPicture();
}

} // namespace qm
