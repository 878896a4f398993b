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
    // The greatest zoom for a picture: most, or what shows one of its pixels on four of the screen's, if that is more. A
    // scrolling capture fitted into a view is a strip. The last two: pixels per point of the picture and of the screen.
    static double mostFor(QSizeF view, const QRectF &region, double sourceScale, double screenScale);
    // How a picture opens: fitted, or if that would make a strip of it, filling the view's other side, at its beginning.
    static CanvasZoom opening(QSizeF view, const QRectF &region, double greatest);

    // Keeps the image point under the given view point in place; near 1 the picture snaps to its fitted position.
    CanvasZoom zoomedAbout(QPointF point, double zoom, QSizeF view, const QRectF &region, double greatest) const;
    // Stops when the picture's near edge reaches the far edge of its fitted rectangle.
    CanvasZoom panned(QPointF by, QSizeF view, const QRectF &region) const;
};

} // namespace qm
