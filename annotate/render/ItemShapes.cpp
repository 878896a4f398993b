#include "annotate/render/ItemShapes.h"

#include <QPainterPathStroker>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qm {

static QPainterPath stroke(const QPainterPath &path, double width)
{
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(Qt::FlatCap);
    stroker.setJoinStyle(Qt::MiterJoin);
    stroker.setMiterLimit(10);
    stroker.setCurveThreshold(0.05); // points: less than one step of pixel coverage at any possible scale
    return stroker.createStroke(path);
}

// A quarter of the curve at a distance from an ellipse with half axes a >= b: outside if positive. Inside, from where it
// crosses the longer axis, if it does.
static QList<QPointF> parallelQuarter(double a, double b, double distance)
{
    constexpr double right = std::numbers::pi / 2;
    constexpr int parts = 48;
    const double h = -distance;
    const double from = h * a > b * b ? std::asin(std::sqrt((h * h * a * a / (b * b) - b * b) / (a * a - b * b))) : 0;
    QList<double> at;
    for (int i = 0; i <= parts; ++i) { // close enough both where it is flat and where it turns
        at << right * i / parts << std::atan2(b * std::sin(right * i / parts), a * std::cos(right * i / parts));
    }
    std::sort(at.begin(), at.end());
    QList<QPointF> quarter;
    for (const double t : std::as_const(at)) {
        const double u = std::max(t, from), slope = std::hypot(b * std::cos(u), a * std::sin(u));
        if (slope > 0)
            quarter << QPointF(std::cos(u) * (a + distance * b / slope), std::sin(u) * (b + distance * a / slope));
    }
    return quarter;
}

// The stroke of an ellipse. Its inner edge turns inside out where the width is more than the ellipse's curve allows: it
// crosses itself on the longer axis, and there is no hole at all if the width fills the shorter one.
static QPainterPath ring(const QRectF &box, double width)
{
    const bool upright = box.height() > box.width();
    const double a = std::max(box.width(), box.height()) / 2, b = std::min(box.width(), box.height()) / 2,
                 h = width / 2;
    QPainterPath path;
    if (h * a <= b * b || b <= 0) { // the least radius of curvature is b * b / a
        path.addEllipse(box);
        return stroke(path, width);
    }
    const auto addEdge = [&](double distance) {
        const QList<QPointF> quarter = parallelQuarter(a, b, distance);
        QPolygonF edge;
        for (const auto &[x, y] : {std::pair(1, 1), {-1, 1}, {-1, -1}, {1, -1}}) {
            QList<QPointF> part = quarter;
            if (x != y)
                std::reverse(part.begin(), part.end());
            for (const QPointF &point : std::as_const(part)) {
                const QPointF turned(point.x() * x, point.y() * y);
                edge << box.center() + (upright ? turned.transposed() : turned);
            }
        }
        path.addPolygon(edge);
        path.closeSubpath();
    };
    addEdge(h);
    if (h < b)
        addEdge(-h);
    return path; // odd-even: the inner edge bounds a hole
}

static QPainterPath segment(QPointF from, QPointF to)
{
    QPainterPath path(from);
    path.lineTo(to);
    return path;
}

static QPointF polar(double length, double angle)
{
    return {length * std::cos(angle), length * std::sin(angle)};
}

// The shaft ends inside the head, so that its butt end does not show beside the tip; a very short arrow is all head.
static QList<QPainterPath> arrow(QPointF start, QPointF end, double lineWidth)
{
    constexpr double halfAngle = std::numbers::pi / 6;
    constexpr double shaftEnd = 0.85; // from the tip, as a fraction of the head's length
    const double angle = std::atan2(end.y() - start.y(), end.x() - start.x());
    const double head = std::max(lineWidth * 4.5, 14.0);

    QList<QPainterPath> areas;
    if (std::hypot(end.x() - start.x(), end.y() - start.y()) > head)
        areas << stroke(segment(start, end - polar(head * shaftEnd, angle)), lineWidth);
    QPainterPath triangle(end);
    triangle.lineTo(end - polar(head, angle - halfAngle));
    triangle.lineTo(end - polar(head, angle + halfAngle));
    triangle.closeSubpath();
    return areas << triangle;
}

QList<QPainterPath> ItemShapes::areasOf(const Annotation &item)
{
    QPainterPath path;
    switch (item.kind) {
    case Annotation::Kind::line: return {stroke(segment(item.start(), item.end()), item.lineWidth)};
    case Annotation::Kind::arrow: return arrow(item.start(), item.end(), item.lineWidth);
    case Annotation::Kind::rect: path.addRect(item.rect.normalized()); break;
    case Annotation::Kind::ellipse: return {ring(item.rect.normalized(), item.lineWidth)};
    case Annotation::Kind::text:
    case Annotation::Kind::blur: return {};
    }
    return {stroke(path, item.lineWidth)};
}

} // namespace qm
