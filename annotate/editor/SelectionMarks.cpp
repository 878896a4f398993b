#include "annotate/editor/SelectionMarks.h"

#include "annotate/document/HitTest.h"

#include <QPainter>

#include <cmath>

namespace qm {

static constexpr double handleSize = 10;
static constexpr double handleStroke = 2;
static constexpr double outlineStroke = 1.5;

SelectionMarks SelectionMarks::of(const Annotation &item, const CanvasMapping &mapping)
{
    SelectionMarks marks;
    if (item.isLinear()) {
        marks.circles = {mapping.toView(item.start()), mapping.toView(item.end())};
        return marks;
    }
    for (const QPointF &corner : qm::outline(item))
        marks.outline << mapping.toView(corner);
    if (!item.rotates())
        marks.squares = marks.outline;
    marks.outline << marks.outline.first();
    if (!item.canRotate())
        return marks;
    const QPointF handle = rotationHandle(item, mapping);
    const QPointF top = (marks.outline[2] + marks.outline[3]) / 2, bottom = (marks.outline[0] + marks.outline[1]) / 2;
    const bool below = QLineF(bottom, handle).length() < QLineF(top, handle).length();
    marks.stem = QLineF(below ? bottom : top, handle);
    marks.circles = {handle};
    return marks;
}

void SelectionMarks::paint(QPainter &painter, const QTransform &toWidget, const QColor &accent) const
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    if (!outline.isEmpty()) {
        QPen dashed(accent, outlineStroke);
        dashed.setDashPattern({5 / outlineStroke, 3 / outlineStroke}); // in pen widths
        dashed.setCapStyle(Qt::FlatCap);
        painter.setPen(dashed);
        painter.drawPolyline(toWidget.map(outline));
    }
    if (stem) {
        painter.setPen(QPen(accent, 1));
        painter.drawLine(toWidget.map(*stem));
    }
    painter.setPen(QPen(accent, handleStroke, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.setBrush(Qt::white);
    const QPointF corner(handleSize / 2, handleSize / 2);
    for (const QPointF &center : squares)
        painter.drawRect({toWidget.map(center) - corner, toWidget.map(center) + corner});
    for (const QPointF &center : circles)
        painter.drawEllipse(toWidget.map(center), corner.x(), corner.y());
    painter.restore();
}

QRect SelectionMarks::bounds(const QTransform &toWidget) const
{
    QPolygonF points = outline;
    points << squares << circles;
    if (points.isEmpty())
        return {};
    constexpr int around = int(handleSize + handleStroke) / 2 + 2;
    return toWidget.map(points).boundingRect().toAlignedRect().adjusted(-around, -around, around, around);
}

} // namespace qm
