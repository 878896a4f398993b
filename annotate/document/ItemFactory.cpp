#include "annotate/document/ItemFactory.h"

#include "annotate/document/TextLine.h"

namespace qm {

static Annotation::Kind kindFor(AnnotationTool tool)
{
    switch (tool) {
    case AnnotationTool::line: return Annotation::Kind::line;
    case AnnotationTool::arrow: return Annotation::Kind::arrow;
    case AnnotationTool::ellipse: return Annotation::Kind::ellipse;
    case AnnotationTool::blur: return Annotation::Kind::blur;
    case AnnotationTool::rect:
    case AnnotationTool::select:
    case AnnotationTool::crop:
    case AnnotationTool::text: break;
    }
    return Annotation::Kind::rect;
}

Annotation ItemFactory::dragged(AnnotationTool tool, QPointF start, QPointF current, const ItemStyle &style)
{
    Annotation item;
    item.kind = kindFor(tool);
    item.rect = QRectF(start.x(), start.y(), current.x() - start.x(), current.y() - start.y());
    item.color = style.color;
    item.lineWidth = style.lineWidth;
    if (item.kind == Annotation::Kind::blur)
        item.blurShape = style.blurShape;
    return item;
}

Annotation ItemFactory::text(const QString &text, QPointF origin, const ItemStyle &style)
{
    const double fontSize = defaultFontSize(style.lineWidth);
    Annotation item;
    item.kind = Annotation::Kind::text;
    item.rect = {origin, QSizeF(measureTextWidth(text, fontSize), fontSize)};
    item.color = style.color;
    item.lineWidth = style.lineWidth;
    item.text = text;
    return item;
}

Annotation ItemFactory::withText(Annotation item, const QString &text)
{
    item.text = text;
    item.rect.setWidth(measureTextWidth(text, item.fontSize()));
    return item;
}

} // namespace qm
