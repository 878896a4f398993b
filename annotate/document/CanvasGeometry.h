#pragma once

#include "annotate/document/Annotation.h"

#include <QSizeF>
#include <QTransform>

#include <array>

namespace qm {

// Where things lie in the canvas, and what a drag makes of them. Image points are the document's, view points are the
// canvas's; both have their origin at the lower left, y up.

// How the shown region lies in a view of the given size.
struct CanvasMapping {
    QRectF region;  // image points: what is shown
    QRectF display; // view points: where; empty when there is nothing to show

    static QRectF fitted(QSizeF view, const QRectF &region); // centred, as large as fits; empty for an empty region
    static CanvasMapping of(QSizeF view, const QRectF &region, double zoom, QPointF pan);

    double scale() const; // image points per view point; 1 when nothing is shown
    QPointF toImage(QPointF view) const;
    QPointF toView(QPointF image) const;
    double renderLimit(double pixelsPerPoint) const; // the limit to render with: screen pixels, but at most 3000
};

// Turns points about the centre of the item's rectangle; identity for an item that does not rotate.
QTransform rotation(const Annotation &item);
// Corners of the standardised rectangle, rotated: (minX, minY), (maxX, minY), (maxX, maxY), (minX, maxY).
std::array<QPointF, 4> outline(const Annotation &item);
// View point of the handle that rotates the item: beyond the top edge, turning with the item.
QPointF rotationHandle(const Annotation &item, const CanvasMapping &mapping);

// The pointer's place with Shift held while a box is drawn: as far along both axes as along the longer one.
QPointF squareFrom(QPointF start, QPointF current);

enum class DragMode { none, whole, start, end, resize, rotate };

// The rectangle that an item has while it is dragged; before is the one it had when the drag began, at from.
QRectF movedRect(const QRectF &before, DragMode mode, QPointF from, QPointF to); // whole, start, end
QRectF resizedRect(QPointF fixedCorner, QPointF to);
QRectF resizedText(const Annotation &item, const QRectF &before, QPointF to); // its size follows the pointer's height
double angleAbout(QPointF center, QPointF point);                             // radians

} // namespace qm
