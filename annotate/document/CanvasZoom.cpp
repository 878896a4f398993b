#include "annotate/document/CanvasZoom.h"

#include "annotate/document/CanvasGeometry.h"

#include <algorithm>
#include <cmath>

namespace qm {

CanvasZoom CanvasZoom::zoomedAbout(QPointF point, double wanted, QSizeF view, const QRectF &region) const
{
    const double next = std::clamp(wanted, least, most);
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
