#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace qm {

// Magnification over the fitted size, and by how much the picture's centre is shifted, in view points.
struct CanvasZoom {
    double zoom = 1;
    QPointF pan;

    static constexpr double least = 0.2, most = 8;
    // What is under the given view point stays there; near 1 the picture snaps to its fitted place.
    CanvasZoom zoomedAbout(QPointF point, double zoom, QSizeF view, const QRectF &region) const;
    // At most so far that the picture's near edge reaches the far edge of where it fits.
    CanvasZoom panned(QPointF by, QSizeF view, const QRectF &region) const;
};

} // namespace qm
