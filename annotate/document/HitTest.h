#pragma once

#include "annotate/document/CanvasGeometry.h"

namespace qm {

// Finds what lies under the pointer. Points are in document coordinates; scale is image points per view point, which
// keeps tolerances constant on screen at every zoom.
namespace HitTest {

// The topmost item at point.
std::optional<int> itemAt(const QList<Annotation> &items, QPointF point, double scale);
// The next one at point below that of the given index, or again the topmost: what lies under another.
std::optional<int> itemBelow(const QList<Annotation> &items, std::optional<int> index, QPointF point, double scale);
bool hits(const Annotation &item, QPointF point, double scale);

enum class EndPoint { none, start, end };
EndPoint endPointAt(const Annotation &item, QPointF point, double scale); // of a line or arrow; the start wins

// The corner that stays fixed while the corner at point is dragged; std::nullopt away from the corners, and for lines,
// arrows and rotated items.
std::optional<QPointF> fixedCornerFor(const Annotation &item, QPointF point, double scale);

// True if a view point is on the rotation handle; always false for a line or arrow.
bool onRotationHandle(const Annotation &item, QPointF viewPoint, const CanvasMapping &mapping);

} // namespace HitTest
} // namespace qm
