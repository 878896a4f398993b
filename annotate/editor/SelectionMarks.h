#pragma once

#include "annotate/document/CanvasGeometry.h"

#include <QList>
#include <QPolygonF>
#include <QRect>

#include <optional>

class QPainter;

namespace qm {

// Marks that show the selection and its handles. Main thread. Points are view points, y up.
struct SelectionMarks {
    QPolygonF outline;          // closed, dashed; empty for a line or arrow
    QList<QPointF> squares;     // corner handles
    QList<QPointF> circles;     // end point and rotation handles
    std::optional<QLineF> stem; // from the box to the rotation handle

    static SelectionMarks of(const Annotation &item, const CanvasMapping &mapping);

    // toWidget maps view points to the painter's coordinates.
    void paint(QPainter &painter, const QTransform &toWidget, const QColor &accent) const;
    QRect bounds(const QTransform &toWidget) const; // of everything painted; empty without marks
};

} // namespace qm
