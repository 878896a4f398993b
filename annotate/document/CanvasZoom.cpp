#include "annotate/document/CanvasZoom.h"

#include "annotate/document/CanvasGeometry.h"

#include <algorithm>
#include <cmath>

namespace qm {

double CanvasZoom::mostFor(QSizeF view, const QRectF &region, double sourceScale, double screenScale)
{
    constexpr double screenPixels = 4;
    const double fitted = CanvasMapping::of(view, region, 1, {}).scale();
    return std::max(most, screenPixels * sourceScale * fitted / screenScale);
}

CanvasZoom CanvasZoom::opening(QSizeF view, const QRectF &region, double greatest)
{
    constexpr double strip = 2.5; // times as long as what the view could show at its full width
    const QSizeF fitted = CanvasMapping::fitted(view, region).size();
    if (fitted.isEmpty())
        return {};
    const double tall = view.width() / fitted.width(), wide = view.height() / fitted.height();
    const double zoom = std::min(std::max(tall, wide), greatest);
    if (zoom < strip)
        return {};
    const QSizeF shown = fitted * zoom;
    return {zoom, tall > wide ? QPointF(0, (view.height() - shown.height()) / 2)
                              : QPointF((shown.width() - view.width()) / 2, 0)};
}

CanvasZoom CanvasZoom::zoomedAbout(QPointF point, double wanted, QSizeF view, const QRectF &region,
                                   double greatest) const
{
    const double next = std::clamp(wanted, least, greatest);
    if (std::abs(next - 1) < 0.01)
        return {};
    const QPointF image = CanvasMapping::of(view, region, zoom, pan).toImage(point);
    const QPointF moved = CanvasMapping::of(view, region, next, pan).toView(image);
    return CanvasZoom{next, pan}.panned(point - moved, view, region);
}

CanvasZoom CanvasZoom::panned(QPointF by, QSizeF view, const QRectF &region) const
{
    const QSizeF base = CanvasMapping::fitted(view, region).size();
    const auto clamped = [&](double shift, double length) {
        const double limit = (length + std::max(length * zoom, 0.0)) / 2;
        return std::clamp(shift, -limit, limit);
    };
    return {zoom, {clamped(pan.x() + by.x(), base.width()), clamped(pan.y() + by.y(), base.height())}};
}

} // namespace qm
