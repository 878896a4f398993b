#include "annotate/render/ItemShapes.h"

#include "annotate/document/TextLine.h"
#include "annotate/render/HighlighterInk.h"

#include <QPainterPathStroker>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qm {

static QPainterPath stroke(const QPainterPath &path, double width, Qt::PenCapStyle cap = Qt::FlatCap,
                           Qt::PenJoinStyle join = Qt::MiterJoin)
{
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(cap);
    stroker.setJoinStyle(join);
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

// Through the middles between the points, which smooths what a hand draws.
static QPainterPath smoothed(const QList<QPointF> &course)
{
    QPainterPath path;
    if (course.isEmpty())
        return path;
    path.moveTo(course.first());
    for (qsizetype i = 1; i + 1 < course.size(); ++i)
        path.quadTo(course[i], (course[i] + course[i + 1]) / 2);
    path.lineTo(course.last());
    return path;
}

// The digits of a number in the middle of its circle.
static QPainterPath digits(const Annotation &item)
{
    constexpr double fontSize = 0.62, widest = 0.72; // of the diameter
    const QPainterPath outline = TextLine::of(item.text.value_or(QString())).outline();
    const QRectF box = outline.boundingRect();
    if (box.isEmpty())
        return {};
    const double diameter = std::min(item.rect.width(), item.rect.height());
    const double scale = std::min(fontSize / TextLine::layoutSize, widest / box.width()) * diameter;
    const QPointF center = item.rect.center();
    return QTransform(scale, 0, 0, -scale, center.x() - box.center().x() * scale, center.y() + box.center().y() * scale)
        .map(outline);
}

// Black or white, whichever can be read on the colour.
static QColor readableOn(const QColor &color)
{
    const double luminance = 0.299 * color.redF() + 0.587 * color.greenF() + 0.114 * color.blueF();
    return luminance > 0.6 ? Qt::black : Qt::white;
}

// Around the line as TextLine places it.
static QPainterPath plate(const Annotation &item)
{
    const double fontSize = item.fontSize(), beside = fontSize * 0.3, above = fontSize * 0.12, round = fontSize * 0.2;
    constexpr double lineHeight = 1.17; // of the font size, in the usual fonts
    const QRectF line(item.rect.x(), item.rect.y(), item.rect.width(), fontSize * lineHeight);
    QPainterPath path;
    path.addRoundedRect(line.adjusted(-beside, -above, beside, above), round, round);
    return path;
}

QList<ItemArea> ItemShapes::areasOf(const Annotation &item, const Image &source)
{
    const auto colored = [&](const QPainterPath &path) { return ItemArea{path, item.color}; };
    const QRectF box = item.rect.normalized();
    QPainterPath path;
    switch (item.kind) {
    case Annotation::Kind::line: return {colored(stroke(segment(item.start(), item.end()), item.lineWidth))};
    case Annotation::Kind::arrow: {
        QList<ItemArea> areas;
        for (const QPainterPath &area : arrow(item.start(), item.end(), item.lineWidth))
            areas << colored(area);
        return areas;
    }
    case Annotation::Kind::rect: path.addRect(box); return {colored(stroke(path, item.lineWidth))};
    case Annotation::Kind::ellipse: return {colored(ring(box, item.lineWidth))};
    case Annotation::Kind::text:
        if (item.plate == Annotation::Plate::none || item.text.value_or(QString()).isEmpty())
            return {};
        return {{plate(item),
                 item.plate == Annotation::Plate::light ? QColor(255, 255, 255, 235) : QColor(28, 28, 30, 235)}};
    case Annotation::Kind::blur: return {};
    case Annotation::Kind::cover:
        path.addRect(box);
        return {{path, QColor::fromRgb(item.color.rgb())}}; // opaque: nothing is to be seen through it
    case Annotation::Kind::number: path.addEllipse(box); return {colored(path), {digits(item), readableOn(item.color)}};
    case Annotation::Kind::highlighter: return highlighterInk(item, source);
    case Annotation::Kind::pen:
        return {colored(stroke(smoothed(item.course()), item.lineWidth, Qt::RoundCap, Qt::RoundJoin))};
    }
    return {};
}

} // namespace qm
