#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace qm {

// Magnification relative to the fitted size, and the offset of the picture's centre in view points.
struct CanvasZoom {
    double zoom = 1;
    QPointF pan;

    static constexpr double least = 0.2, most = 8;
    // Keeps the image point under the given view point in place; near 1 the picture snaps to its fitted position.
    CanvasZoom zoomedAbout(QPointF point, double zoom, QSizeF view, const QRectF &region) const;
    // Stops when the picture's near edge reaches the far edge of its fitted rectangle.
    CanvasZoom panned(QPointF by, QSizeF view, const QRectF &region) const;
};

} // namespace qm
