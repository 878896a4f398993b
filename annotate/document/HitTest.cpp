#include "annotate/document/HitTest.h"

#include <algorithm>
#include <cmath>

namespace qm {

static constexpr double itemTolerance = 8;    // view points
static constexpr double handleTolerance = 12; // view points

static double distance(QPointF a, QPointF b)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

static double distanceToSegment(QPointF point, QPointF from, QPointF to)
{
    const QPointF along = to - from;
    const double length = QPointF::dotProduct(along, along);
    if (length == 0)
        return distance(point, from);
    const double at = std::clamp(QPointF::dotProduct(point - from, along) / length, 0.0, 1.0);
    return distance(point, from + along * at);
}

static QRectF textBox(const Annotation &item)
{
    if (item.rect.height() > 1)
        return item.rect.normalized();
    const double fontSize = defaultFontSize(item.lineWidth);
    const qsizetype length = item.text ? item.text->size() : 1;
    return {item.rect.topLeft(), QSizeF(std::max(fontSize * double(length) * 0.6, 24.0), fontSize)};
}

// How far beyond its geometry an item may be grabbed.
static double strokeReach(const Annotation &item)
{
    switch (item.kind) {
    case Annotation::Kind::cover:
    case Annotation::Kind::number: return 0;
    case Annotation::Kind::highlighter: return item.strokeWidth() / 2;
    default: return item.lineWidth;
    }
}

bool HitTest::hits(const Annotation &item, QPointF point, double scale)
{
    const double tolerance = itemTolerance * scale + strokeReach(item);
    if (item.isLinear())
        return distanceToSegment(point, item.start(), item.end()) < tolerance;
    const QPointF upright = rotation(item).inverted().map(point);
    const QRectF box = item.kind == Annotation::Kind::text ? textBox(item) : item.rect.normalized();
    if (!box.adjusted(-tolerance, -tolerance, tolerance, tolerance).contains(upright))
        return false;
    if (item.kind != Annotation::Kind::pen)
        return true;
    const QList<QPointF> course = item.course();
    for (qsizetype i = 1; i < course.size(); ++i) {
        if (distanceToSegment(upright, course[i - 1], course[i]) < tolerance)
            return true;
    }
    return false;
}

std::optional<int> HitTest::itemAt(const QList<Annotation> &items, QPointF point, double scale)
{
    for (int i = int(items.size()) - 1; i >= 0; --i) {
        if (hits(items[i], point, scale))
            return i;
    }
    return std::nullopt;
}

std::optional<int> HitTest::itemBelow(const QList<Annotation> &items, std::optional<int> index, QPointF point,
                                      double scale)
{
    if (index && *index > 0 && *index < items.size() && hits(items[*index], point, scale)) {
        if (const auto below = itemAt(items.first(*index), point, scale))
            return below;
    }
    return itemAt(items, point, scale);
}

HitTest::EndPoint HitTest::endPointAt(const Annotation &item, QPointF point, double scale)
{
    if (!item.isLinear())
        return EndPoint::none;
    if (distance(point, item.start()) <= handleTolerance * scale)
        return EndPoint::start;
    return distance(point, item.end()) <= handleTolerance * scale ? EndPoint::end : EndPoint::none;
}

std::optional<QPointF> HitTest::fixedCornerFor(const Annotation &item, QPointF point, double scale)
{
    if (item.isLinear() || item.rotates())
        return std::nullopt;
    const QRectF box = item.rect.normalized();
    const std::pair<QPointF, QPointF> corners[] = {
        // QRectF assumes y down: its top is the lower edge here.
        {box.topLeft(), box.bottomRight()},
        {box.topRight(), box.bottomLeft()},
        {box.bottomLeft(), box.topRight()},
        {box.bottomRight(), box.topLeft()},
    };
    for (const auto &[corner, opposite] : corners) {
        if (distance(point, corner) <= handleTolerance * scale)
            return item.kind == Annotation::Kind::text ? item.start() : opposite;
    }
    return std::nullopt;
}

bool HitTest::onRotationHandle(const Annotation &item, QPointF viewPoint, const CanvasMapping &mapping)
{
    return item.canRotate() && distance(viewPoint, rotationHandle(item, mapping)) <= handleTolerance;
}

} // namespace qm
