#pragma once

#include "annotate/document/CanvasGeometry.h"

namespace qm {

// What lies under the pointer. Points are the document's; scale is image points per view point, so that what can be hit
// is as large on the screen at every zoom.
namespace HitTest {

// The topmost item at point.
std::optional<int> itemAt(const QList<Annotation> &items, QPointF point, double scale);
bool hits(const Annotation &item, QPointF point, double scale);

enum class EndPoint { none, start, end };
EndPoint endPointAt(const Annotation &item, QPointF point, double scale); // of a line or arrow; the start wins

// The point that stays put when the corner at point is dragged; nothing away from the corners, for a line or arrow, and
// for a rotated item.
std::optional<QPointF> fixedCornerFor(const Annotation &item, QPointF point, double scale);

// Whether a view point is on the rotation handle; never for a line or arrow.
bool onRotationHandle(const Annotation &item, QPointF viewPoint, const CanvasMapping &mapping);

} // namespace HitTest
} // namespace qm
