#include "annotate/render/PixelGrid.h"

#include <algorithm>
#include <cmath>

namespace qm {

static constexpr double mostPixels = 1 << 20; // larger edges cannot be allocated anyway, and must not overflow an int

QTransform PixelGrid::toPixels() const
{
    const double sx = region.width() > 0 ? pixels.width() / region.width() : 1;
    const double sy = region.height() > 0 ? pixels.height() / region.height() : 1;
    return {sx, 0, 0, -sy, -region.x() * sx, pixels.height() + region.y() * sy};
}

PixelGrid PixelGrid::part(const QRect &window) const
{
    if (window == QRect({0, 0}, pixels))
        return *this;
    const QRectF points = toPixels().inverted().mapRect(QRectF(window));
    return {points, window.size(), points.size()};
}

PixelGrid PixelGrid::ofSource(const Image &source)
{
    return {QRectF({0, 0}, source.size), source.pixels.size(), source.size};
}

static int pixelCount(double points, double scale)
{
    return int(std::lround(std::clamp(points * scale, 1.0, mostPixels)));
}

PixelGrid PixelGrid::ofOutput(const AnnotationDoc &doc, std::optional<double> maxDimension)
{
    const QRectF region = shownRegion(doc);
    const double longest = std::max(region.width(), region.height());
    double shrink = 1;
    double scale = doc.source.scale();
    if (maxDimension && longest > 0) {
        if (*maxDimension < longest)
            shrink = *maxDimension / longest;
        scale = std::min(scale, *maxDimension / longest);
    }
    return {region, QSize(pixelCount(region.width(), scale), pixelCount(region.height(), scale)),
            QSizeF(std::max(region.width() * shrink, 1.0), std::max(region.height() * shrink, 1.0))};
}

namespace {

struct Span {
    double origin, length;
};

} // namespace

// Snaps an extent to the nearest pixel edges; a non-empty one keeps at least a pixel.
static Span snapped(double origin, double length, double scale)
{
    double from = std::round(origin * scale);
    double to = std::round((origin + length) * scale);
    if (length > 0 && from == to) {
        from = std::floor(origin * scale);
        to = from + 1;
    }
    return {from / scale, (to - from) / scale};
}

QRectF shownRegion(const AnnotationDoc &doc)
{
    if (!doc.crop)
        return {{0, 0}, doc.source.size};
    if (doc.source.isNull() || doc.source.size.isEmpty())
        return *doc.crop;
    const Span x = snapped(doc.crop->x(), doc.crop->width(), doc.source.pixels.width() / doc.source.size.width());
    const Span y = snapped(doc.crop->y(), doc.crop->height(), doc.source.pixels.height() / doc.source.size.height());
    return {x.origin, y.origin, x.length, y.length};
}

} // namespace qm
