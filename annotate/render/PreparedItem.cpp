#include "annotate/render/PreparedItem.h"

#include "annotate/document/CanvasGeometry.h"

#include <QPainter>
#include <QPainterPathStroker>

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

static QList<QPainterPath> areasOf(const Annotation &item)
{
    QPainterPath path;
    switch (item.kind) {
    case Annotation::Kind::line: return {stroke(segment(item.start(), item.end()), item.lineWidth)};
    case Annotation::Kind::arrow: return arrow(item.start(), item.end(), item.lineWidth);
    case Annotation::Kind::rect: path.addRect(item.rect.normalized()); break;
    case Annotation::Kind::ellipse: path.addEllipse(item.rect.normalized()); break;
    case Annotation::Kind::text:
    case Annotation::Kind::blur: return {};
    }
    return {stroke(path, item.lineWidth)};
}

static QRect pixelsTouched(const QRectF &exact, QSize output)
{
    return (exact.adjusted(-1, -1, 1, 1) & QRectF({0, 0}, output)).toAlignedRect();
}

PreparedItem prepareItem(const Annotation &item, const Image &source, const PixelGrid &output,
                         const PreparedItem *before)
{
    PreparedItem prepared;
    prepared.item = item;
    const QTransform ontoOutput = rotation(item) * output.toPixels();
    if (item.kind == Annotation::Kind::blur) {
        prepared.patch = makeBlurPatch(source, item, output);
        prepared.bounds = prepared.patch.device;
        return prepared;
    }
    if (item.kind == Annotation::Kind::text) {
        prepared.line = before && before->line && before->item.text == item.text
                            ? before->line
                            : TextLine(item.text.value_or(QString()));
        const TextLine &line = *prepared.line;
        const double scale = item.fontSize() / TextLine::layoutSize;
        const QTransform layout(scale, 0, 0, -scale, item.rect.x(), item.rect.y() + line.descent() * scale);
        prepared.lineTransform = layout * ontoOutput;
        prepared.areas << prepared.lineTransform.map(line.outline());
        prepared.bounds = pixelsTouched(prepared.lineTransform.mapRect(line.bounds()), output.pixels);
        return prepared;
    }
    QRectF bounds;
    prepared.areas = areasOf(item);
    for (QPainterPath &area : prepared.areas) {
        area = ontoOutput.map(area);
        bounds |= area.controlPointRect();
    }
    prepared.bounds = pixelsTouched(bounds, output.pixels);
    return prepared;
}

void paint(const PreparedItem &prepared, QPainter &painter, const QColor &color)
{
    for (const QPainterPath &area : prepared.areas)
        painter.fillPath(area, color);
    if (!prepared.line || prepared.line->pictures().isEmpty())
        return;
    painter.save();
    painter.setTransform(prepared.lineTransform, true);
    painter.setPen(color);
    for (const QGlyphRun &picture : prepared.line->pictures())
        painter.drawGlyphRun({0, 0}, picture);
    painter.restore();
}

} // namespace qm
