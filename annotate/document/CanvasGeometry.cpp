#include "annotate/document/CanvasGeometry.h"

#include "annotate/document/TextLine.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qm {

QRectF CanvasMapping::fitted(QSizeF viewSize, const QRectF &region)
{
    if (region.width() <= 0 || region.height() <= 0)
        return {};
    const double fit = std::min(viewSize.width() / region.width(), viewSize.height() / region.height());
    const QSizeF size = region.size() * fit;
    return {(viewSize.width() - size.width()) / 2, (viewSize.height() - size.height()) / 2, size.width(),
            size.height()};
}

CanvasMapping CanvasMapping::of(QSizeF viewSize, const QRectF &region, double zoom, QPointF pan)
{
    const QRectF base = fitted(viewSize, region);
    QRectF display({0, 0}, base.size() * zoom);
    display.moveCenter(base.center() + pan);
    return {region, display, viewSize};
}

double CanvasMapping::scale() const
{
    return display.width() > 0 ? region.width() / display.width() : 1;
}

QPointF CanvasMapping::toImage(QPointF point) const
{
    return (point - display.topLeft()) * scale() + region.topLeft();
}

QPointF CanvasMapping::toView(QPointF image) const
{
    return (image - region.topLeft()) / scale() + display.topLeft();
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
    const QPointF center = mapping.toView(box.center());
    const QPointF up = QPointF(-std::sin(item.rotation), std::cos(item.rotation)) * reach;
    constexpr double fromEdge = 8;
    const QRectF room = QRectF({0, 0}, mapping.view).adjusted(fromEdge, fromEdge, -fromEdge, -fromEdge);
    const QRectF shown(mapping.toView(box.topLeft()), mapping.toView(box.bottomRight()));
    if (room.contains(center + up) || !room.intersects(shown))
        return center + up;
    if (room.contains(center - up))
        return center - up;
    return {std::clamp(center.x() + up.x(), room.left(), room.right()),
            std::clamp(center.y() + up.y(), room.top(), room.bottom())};
}

QPointF squareFrom(QPointF start, QPointF current)
{
    const QPointF by = current - start;
    const double side = std::max(std::abs(by.x()), std::abs(by.y()));
    return start + QPointF(by.x() < 0 ? -side : side, by.y() < 0 ? -side : side);
}

QPointF levelFrom(QPointF start, QPointF current)
{
    constexpr double step = std::numbers::pi / 4;
    const double angle = std::round(angleAbout(start, current) / step) * step;
    const QPointF along(std::cos(angle), std::sin(angle));
    const double length = QPointF::dotProduct(current - start, along);
    // cos and sin are a little off where they should be 0.
    const auto exact = [](double part) { return std::abs(part) < 1e-9 ? 0 : part; };
    return start + QPointF(exact(along.x()), exact(along.y())) * length;
}

double settledAngle(double angle, bool inSteps)
{
    constexpr double degree = std::numbers::pi / 180, step = 15 * degree;
    const double settled = inSteps ? std::round(angle / step) * step : angle;
    return std::abs(std::remainder(settled, 2 * std::numbers::pi)) < 2 * degree ? 0 : settled;
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
