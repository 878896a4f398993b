#include "helpers/qmscroll/wayland/WholePixels.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qm {

static constexpr int scaleUnit = 120; // scales are multiples of a 120th, as in the protocol fractional-scale

std::optional<WholePixels> wholePixelsAround(const RegionPart &part)
{
    const QSize points = part.logical.size();
    if (points.isEmpty())
        return {};
    const int scale = int(std::lround(double(part.monitor.width()) * scaleUnit / points.width())); // in 120ths
    const auto whole = [scale](int length) { return int(std::lround(double(length) * scale / scaleUnit)); };
    // Compositors round to whole points, so up to a point may be too much. More tells that the scale is no multiple of a 120th;
    // with too little the last pixels would be missing.
    const auto comesOut = [&](int length, int pixels) {
        const int over = whole(length) - pixels;
        return over >= 0 && over * scaleUnit < scale;
    };
    if (!comesOut(points.width(), part.monitor.width()) || !comesOut(points.height(), part.monitor.height()))
        return {};
    const int divisor = std::gcd(scale, scaleUnit);
    const int step = scaleUnit / divisor; // points that are whole pixels
    const int stepPixels = std::max(1, scale / divisor);
    const QPoint first(part.pixels.x() / stepPixels, part.pixels.y() / stepPixels); // steps
    const QPoint last(part.pixels.right() / stepPixels, part.pixels.bottom() / stepPixels);
    const QRect asked(first * step, last * step + QPoint(step - 1, step - 1));
    return WholePixels{asked & QRect(QPoint(), points), part.pixels.topLeft() - first * stepPixels};
}

} // namespace qm
