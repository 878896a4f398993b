#include "annotate/document/ItemFactory.h"

#include "annotate/document/TextLine.h"

#include <QPolygonF>

#include <algorithm>

namespace qm {

static Annotation::Kind kindFor(AnnotationTool tool)
{
    switch (tool) {
    case AnnotationTool::line: return Annotation::Kind::line;
    case AnnotationTool::arrow: return Annotation::Kind::arrow;
    case AnnotationTool::ellipse: return Annotation::Kind::ellipse;
    case AnnotationTool::blur: return Annotation::Kind::blur;
    case AnnotationTool::cover: return Annotation::Kind::cover;
    case AnnotationTool::highlighter: return Annotation::Kind::highlighter;
    case AnnotationTool::number:
    case AnnotationTool::pen:
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
    item.plate = style.plate;
    return item;
}

Annotation ItemFactory::number(int value, QPointF center, const ItemStyle &style)
{
    Annotation item;
    item.kind = Annotation::Kind::number;
    item.rect.moveCenter(center);
    item.color = style.color;
    item.setLineWidth(style.lineWidth);
    item.text = QString::number(value);
    return item;
}

int ItemFactory::countNumbers(const QList<Annotation> &items)
{
    return int(std::count_if(items.begin(), items.end(),
                             [](const Annotation &item) { return item.kind == Annotation::Kind::number; }));
}

QList<Annotation> ItemFactory::renumbered(QList<Annotation> items)
{
    int value = 0;
    for (Annotation &item : items) {
        if (item.kind == Annotation::Kind::number)
            item.text = QString::number(++value);
    }
    return items;
}

Annotation ItemFactory::pen(const QList<QPointF> &course, const ItemStyle &style)
{
    Annotation item;
    item.kind = Annotation::Kind::pen;
    item.rect = QPolygonF(course).boundingRect();
    item.color = style.color;
    item.lineWidth = style.lineWidth;
    const auto share = [](double way, double length) { return length > 0 ? std::clamp(way / length, 0.0, 1.0) : 0; };
    for (const QPointF &point : course)
        item.points << QPointF(share(point.x() - item.rect.x(), item.rect.width()),
                               share(point.y() - item.rect.y(), item.rect.height()));
    return item;
}

Annotation ItemFactory::withText(Annotation item, const QString &text)
{
    item.text = text;
    item.rect.setWidth(measureTextWidth(text, item.fontSize()));
    return item;
}

} // namespace qm
