#pragma once

#include "annotate/document/CanvasGeometry.h"

#include <QList>
#include <QPolygonF>
#include <QRect>

#include <optional>

class QPainter;

namespace qm {

// What shows that an item is selected, and where it can be taken hold of. Main thread. Points are view points, y up.
struct SelectionMarks {
    QPolygonF outline;          // closed, dashed; empty for a line or arrow
    QList<QPointF> squares;     // handles of corners
    QList<QPointF> circles;     // handles of end points and of the rotation
    std::optional<QLineF> stem; // from the box to the handle that rotates it

    static SelectionMarks of(const Annotation &item, const CanvasMapping &mapping);

    // toWidget turns view points into the painter's.
    void paint(QPainter &painter, const QTransform &toWidget, const QColor &accent) const;
    QRect bounds(const QTransform &toWidget) const; // of all that is painted; empty for no marks
};

} // namespace qm
