#include "helpers/qmscroll/wayland/WholePixels.h"

#include <cmath>
#include <numeric>

namespace qm {

static constexpr int scaleUnit = 120; // scales are multiples of a 120th, as in the protocol fractional-scale

std::optional<WholePixels> wholePixelsAround(const RegionPart &part)
{
    const QSize points = part.logical.size();
    const int scale = int(std::lround(double(part.monitor.width()) * scaleUnit / points.width())); // in 120ths
    const auto whole = [scale](int length) { return int(std::lround(double(length) * scale / scaleUnit)); };
    if (whole(points.width()) < part.monitor.width() || whole(points.height()) < part.monitor.height())
        return {}; // its points do not come out even, and the last pixels would be missing
    const int step = scaleUnit / std::gcd(scale, scaleUnit); // points that are whole pixels
    const int stepPixels = step * scale / scaleUnit;
    const QPoint first(part.pixels.x() / stepPixels, part.pixels.y() / stepPixels); // steps
    const QPoint last(part.pixels.right() / stepPixels, part.pixels.bottom() / stepPixels);
    const QRect asked(first * step, last * step + QPoint(step - 1, step - 1));
    return WholePixels{asked & QRect(QPoint(), points), part.pixels.topLeft() - first * stepPixels};
}

} // namespace qm
