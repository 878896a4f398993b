#include "annotate/render/PreparedItem.h"

#include "annotate/document/CanvasGeometry.h"
#include "annotate/render/ItemShapes.h"

#include <QColorTransform>
#include <QPainter>

namespace qm {

static QRect pixelsTouched(const QRectF &exact, QSize output)
{
    return (exact.adjusted(-1, -1, 1, 1) & QRectF({0, 0}, output)).toAlignedRect();
}

PreparedItem prepareItem(const Annotation &item, const Image &source, const PixelGrid &output)
{
    PreparedItem prepared;
    prepared.item = item;
    const QTransform ontoOutput = rotation(item) * output.toPixels();
    if (item.kind == Annotation::Kind::blur) {
        prepared.patch = makeBlurPatch(source, item, output);
        prepared.bounds = prepared.patch.device;
        return prepared;
    }
    QRectF bounds;
    if (item.kind == Annotation::Kind::text) {
        prepared.line = TextLine::of(item.text.value_or(QString()));
        const TextLine &line = *prepared.line;
        const double scale = item.fontSize() / TextLine::layoutSize;
        const QTransform layout(scale, 0, 0, -scale, item.rect.x(), item.rect.y() + line.descent() * scale);
        prepared.lineTransform = layout * ontoOutput;
        bounds = prepared.lineTransform.mapRect(line.bounds());
    }
    prepared.areas = ItemShapes::areasOf(item, source);
    for (ItemArea &area : prepared.areas) {
        area.path = ontoOutput.map(area.path);
        bounds |= area.path.controlPointRect();
    }
    if (prepared.line)
        prepared.areas << ItemArea{prepared.lineTransform.map(prepared.line->outline()), item.color};
    prepared.bounds = pixelsTouched(bounds, output.pixels);
    return prepared;
}

static QPainter::CompositionMode modeFor(ItemArea::Blend blend)
{
    switch (blend) {
    case ItemArea::Blend::over: break;
    case ItemArea::Blend::multiply: return QPainter::CompositionMode_Multiply;
    case ItemArea::Blend::screen: return QPainter::CompositionMode_Screen;
    }
    return QPainter::CompositionMode_SourceOver;
}

void paint(const PreparedItem &prepared, QPainter &painter, const QColorTransform &colors)
{
    const auto mapped = [&](const QColor &color) { return colors.isIdentity() ? color : colors.map(color); };
    for (const ItemArea &area : prepared.areas) {
        painter.setCompositionMode(modeFor(area.blend));
        painter.fillPath(area.path, mapped(area.color));
    }
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    if (!prepared.line || prepared.line->pictures().isEmpty())
        return;
    painter.save();
    painter.setTransform(prepared.lineTransform, true);
    painter.setPen(mapped(prepared.item.color));
    for (const QGlyphRun &picture : prepared.line->pictures())
        painter.drawGlyphRun({0, 0}, picture);
    painter.restore();
}

} // namespace qm
