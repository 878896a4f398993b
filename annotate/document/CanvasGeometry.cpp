#include "annotate/document/CanvasGeometry.h"

#include "annotate/document/TextLine.h"

#include <algorithm>
#include <cmath>

namespace qm {

QRectF CanvasMapping::fitted(QSizeF view, const QRectF &region)
{
    if (region.width() <= 0 || region.height() <= 0)
        return {};
    const double fit = std::min(view.width() / region.width(), view.height() / region.height());
    const QSizeF size = region.size() * fit;
    return {(view.width() - size.width()) / 2, (view.height() - size.height()) / 2, size.width(), size.height()};
}

CanvasMapping CanvasMapping::of(QSizeF view, const QRectF &region, double zoom, QPointF pan)
{
    const QRectF base = fitted(view, region);
    QRectF display({0, 0}, base.size() * zoom);
    display.moveCenter(base.center() + pan);
    return {region, display};
}

double CanvasMapping::scale() const
{
    return display.width() > 0 ? region.width() / display.width() : 1;
}

QPointF CanvasMapping::toImage(QPointF view) const
{
    return (view - display.topLeft()) * scale() + region.topLeft();
}

QPointF CanvasMapping::toView(QPointF image) const
{
    return (image - region.topLeft()) / scale() + display.topLeft();
}

double CanvasMapping::renderLimit(double pixelsPerPoint) const
{
    return std::min(pixelsPerPoint * std::max(display.width(), display.height()), 3000.0);
}

QTransform rotation(const Annotation &item)
{
    if (!item.rotates())
        return {};
    const QPointF center = item.rect.center();
    return QTransform::fromTranslate(-center.x(), -center.y()) * QTransform().rotateRadians(item.rotation) *
           QTransform::fromTranslate(center.x(), center.y());
}

std::array<QPointF, 4> outline(const Annotation &item)
{
    const QRectF box = item.rect.normalized();
    const QTransform turn = rotation(item);
    return {turn.map(box.topLeft()), turn.map(box.topRight()), turn.map(box.bottomRight()), turn.map(box.bottomLeft())};
}

QPointF rotationHandle(const Annotation &item, const CanvasMapping &mapping)
{
    constexpr double beyondEdge = 26;
    const QRectF box = item.rect.normalized();
    const double reach = box.height() / std::max(mapping.scale(), 0.0001) / 2 + beyondEdge;
    return mapping.toView(box.center()) + QPointF(-std::sin(item.rotation), std::cos(item.rotation)) * reach;
}

QPointF squareFrom(QPointF start, QPointF current)
{
    const QPointF by = current - start;
    const double side = std::max(std::abs(by.x()), std::abs(by.y()));
    return start + QPointF(by.x() < 0 ? -side : side, by.y() < 0 ? -side : side);
}

QRectF movedRect(const QRectF &before, DragMode mode, QPointF from, QPointF to)
{
    const QPointF by = to - from;
    switch (mode) {
    case DragMode::whole: return before.translated(by);
    case DragMode::start:
        return {before.x() + by.x(), before.y() + by.y(), before.width() - by.x(), before.height() - by.y()};
    case DragMode::end: return {before.x(), before.y(), before.width() + by.x(), before.height() + by.y()};
    case DragMode::none:
    case DragMode::resize:
    case DragMode::rotate: break;
    }
    return before;
}

QRectF resizedRect(QPointF fixedCorner, QPointF to)
{
    return {std::min(to.x(), fixedCorner.x()), std::min(to.y(), fixedCorner.y()), std::abs(to.x() - fixedCorner.x()),
            std::abs(to.y() - fixedCorner.y())};
}

QRectF resizedText(const Annotation &item, const QRectF &before, QPointF to)
{
    const double fontSize = std::max(std::abs(to.y() - before.y()), 8.0);
    return {before.x(), before.y(), measureTextWidth(item.text.value_or(QString()), fontSize), fontSize};
}

double angleAbout(QPointF center, QPointF point)
{
    return std::atan2(point.y() - center.y(), point.x() - center.x());
}

} // namespace qm
