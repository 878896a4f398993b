#include "annotate/render/PreparedItem.h"

#include "annotate/document/CanvasGeometry.h"
#include "annotate/render/ItemShapes.h"

#include <QPainter>

namespace qm {

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
    prepared.areas = ItemShapes::areasOf(item);
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
