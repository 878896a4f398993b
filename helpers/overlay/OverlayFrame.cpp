#include "helpers/overlay/OverlayFrame.h"

#include <QPainter>

#include <algorithm>
#include <cstring>

namespace qm {

namespace {

template<class T>
void addDifference(QRegion &region, const QList<T> &of, const QList<T> &other, QRect (*area)(const T &))
{
    for (const T &item : of) {
        if (!other.contains(item))
            region += area(item);
    }
}

} // namespace

void OverlayFrame::addBorder(const QRect &area, int thickness, QRgb color, Side side)
{
    const int t = thickness;
    const QRect outer = side == Side::outside ? area.adjusted(-t, -t, t, t) : area;
    fills.append({QRect(outer.left(), outer.top(), outer.width(), t), color});
    fills.append({QRect(outer.left(), outer.bottom() + 1 - t, outer.width(), t), color});
    fills.append({QRect(outer.left(), outer.top() + t, t, outer.height() - 2 * t), color});
    fills.append({QRect(outer.right() + 1 - t, outer.top() + t, t, outer.height() - 2 * t), color});
}

QRegion damage(const OverlayFrame &before, const OverlayFrame &after)
{
    QRegion region = QRegion(before.clear) ^ QRegion(after.clear);
    const auto fillArea = [](const OverlayFrame::Fill &fill) { return fill.area; };
    addDifference<OverlayFrame::Fill>(region, before.fills, after.fills, fillArea);
    addDifference<OverlayFrame::Fill>(region, after.fills, before.fills, fillArea);
    const auto spriteArea = [](const OverlayFrame::Sprite &sprite) { return sprite.area(); };
    addDifference<OverlayFrame::Sprite>(region, before.sprites, after.sprites, spriteArea);
    addDifference<OverlayFrame::Sprite>(region, after.sprites, before.sprites, spriteArea);
    return region;
}

void paint(const OverlayFrame &frame, const QImage &frozen, QImage &target, QPoint origin)
{
    const QRect area = QRect(origin, target.size()) & frozen.rect();
    for (int y = area.top(); y <= area.bottom(); ++y) {
        auto *to = reinterpret_cast<quint32 *>(target.scanLine(y - origin.y())) + (area.left() - origin.x());
        const auto *from = reinterpret_cast<const quint32 *>(frozen.constScanLine(y)) + area.left();
        const bool crossed = y >= frame.clear.top() && y <= frame.clear.bottom();
        const int clearFrom = crossed ? std::clamp(frame.clear.left() - area.left(), 0, area.width()) : area.width();
        const int clearTo =
            crossed ? std::clamp(frame.clear.right() + 1 - area.left(), clearFrom, area.width()) : area.width();
        dim(to, from, size_t(clearFrom));
        std::memcpy(to + clearFrom, from + clearFrom, size_t(clearTo - clearFrom) * sizeof(quint32));
        dim(to + clearTo, from + clearTo, size_t(area.width() - clearTo));
    }
    const bool bare = std::none_of(frame.fills.cbegin(), frame.fills.cend(),
                                   [&](const auto &fill) { return fill.area.intersects(area); }) &&
                      std::none_of(frame.sprites.cbegin(), frame.sprites.cend(),
                                   [&](const auto &sprite) { return sprite.area().intersects(area); });
    if (bare)
        return;
    QPainter painter(&target);
    painter.translate(-origin);
    for (const OverlayFrame::Fill &fill : frame.fills) {
        if (fill.area.intersects(area))
            painter.fillRect(fill.area, QColor::fromRgba(qUnpremultiply(fill.color)));
    }
    for (const OverlayFrame::Sprite &sprite : frame.sprites) {
        if (sprite.area().intersects(area))
            painter.drawImage(sprite.at, sprite.picture);
    }
}

QPoint placeLabel(const QSize &label, const QRect &selection, const QRect &monitor, const QRect &avoid, int gap)
{
    const int middle = selection.center().x() - label.width() / 2;
    const int x = std::clamp(middle, monitor.left() + gap,
                             std::max(monitor.left() + gap, monitor.right() + 1 - gap - label.width()));
    const int below = selection.bottom() + 1 + gap;
    const int above = selection.top() - gap - label.height();
    const int withinBottom = std::min(selection.bottom(), monitor.bottom()) + 1 - gap - label.height();
    const int withinTop = std::max(selection.top(), monitor.top()) + gap;
    for (const int y : {below, above, withinBottom, withinTop}) {
        const QRect place(QPoint(x, y), label);
        if (monitor.contains(place) && !place.intersects(avoid))
            return place.topLeft();
    }
    return {x, std::clamp(below, monitor.top(), monitor.bottom() + 1 - label.height())};
}

QPoint placeLoupe(const QSize &loupe, QPoint pointer, QPoint direction, const QRect &monitor, int gap)
{
    const auto place = [gap](int at, int towards, int size, int first, int last) {
        const int after = at + gap;
        const int before = at - gap - size + 1;
        const bool fitsAfter = after + size - 1 <= last;
        const bool fitsBefore = before >= first;
        return (towards >= 0 ? fitsAfter || !fitsBefore : !fitsBefore && fitsAfter) ? after : before;
    };
    return {place(pointer.x(), direction.x(), loupe.width(), monitor.left(), monitor.right()),
            place(pointer.y(), direction.y(), loupe.height(), monitor.top(), monitor.bottom())};
}

} // namespace qm
