#pragma once

#include "annotate/document/Annotation.h"

#include <QSizeF>
#include <QTransform>

#include <array>

namespace qm {

// Layout of the canvas and the geometry of dragging. Image points are the document's, view points are the canvas's;
// both have their origin at the lower left, y up.

// Maps the shown region into a view of the given size.
struct CanvasMapping {
    QRectF region;  // image points: the part shown
    QRectF display; // view points: where it is shown; empty when there is nothing to show
    QSizeF view;    // view points: of the whole view

    static QRectF fitted(QSizeF viewSize, const QRectF &region); // centred, as large as fits; empty for an empty region
    static CanvasMapping of(QSizeF viewSize, const QRectF &region, double zoom, QPointF pan);

    double scale() const; // image points per view point; 1 when nothing is shown
    QPointF toImage(QPointF point) const;
    QPointF toView(QPointF image) const;
};

// Rotation about the centre of the item's rectangle; identity for an item that does not rotate.
QTransform rotation(const Annotation &item);
// Corners of the standardised rectangle, rotated: (minX, minY), (maxX, minY), (maxX, maxY), (minX, maxY).
std::array<QPointF, 4> outline(const Annotation &item);
// Position of the rotation handle in view points: beyond the top edge, turning with the item; where the view has no room
// for it there, beyond the bottom edge or at the view's edge.
QPointF rotationHandle(const Annotation &item, const CanvasMapping &mapping);

// The pointer position constrained to a square (Shift held): the longer axis sets both sides.
QPointF squareFrom(QPointF start, QPointF current);

// The pointer position constrained to a level, upright or diagonal line (Ctrl held).
QPointF levelFrom(QPointF start, QPointF current);
// An angle in radians that a pointer turned an item to: in steps of 15 degrees if so wanted, and exactly 0 nearby.
double settledAngle(double angle, bool inSteps);

enum class DragMode { none, whole, start, end, resize, rotate };

// The item's rectangle during a drag; before is its rectangle when the drag began at from.
QRectF movedRect(const QRectF &before, DragMode mode, QPointF from, QPointF to); // whole, start, end
QRectF resizedRect(QPointF fixedCorner, QPointF to);
QRectF resizedText(const Annotation &item, const QRectF &before, QPointF to); // font size follows the pointer's height
double angleAbout(QPointF center, QPointF point);                             // radians

} // namespace qm
