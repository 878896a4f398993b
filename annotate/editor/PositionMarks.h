#pragma once

#include "annotate/document/CanvasGeometry.h"

#include <QList>
#include <QRect>

class QPainter;

namespace qm {

// Quiet marks at the edges of a canvas that show which part of a larger picture is seen. Main thread.
namespace PositionMarks {

QList<QRectF> of(const CanvasMapping &mapping); // in widget coordinates; none along a side that is seen whole
void paint(const QList<QRectF> &marks, QPainter &painter);

} // namespace PositionMarks
} // namespace qm
