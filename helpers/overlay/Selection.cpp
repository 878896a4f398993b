#include "helpers/overlay/Selection.h"

#include <algorithm>
#include <cstdlib>

namespace qm {

namespace {

QPoint clamped(QPoint point, const QRect &bounds)
{
    return {std::clamp(point.x(), bounds.left(), bounds.right()), std::clamp(point.y(), bounds.top(), bounds.bottom())};
}

} // namespace

Selection::Selection(const QRect &bounds, int threshold)
    : m_bounds(bounds)
    , m_threshold(threshold)
{
}

void Selection::press(QPoint at)
{
    m_pressed = true;
    m_dragging = false;
    m_moving = false;
    m_offset = {};
    m_pointer = at;
    m_anchor = m_corner = clamped(at, m_bounds);
}

void Selection::move(QPoint to)
{
    m_pointer = to;
    if (!m_pressed)
        return;
    const QPoint distance = to - m_anchor;
    if (!m_dragging && std::max(std::abs(distance.x()), std::abs(distance.y())) < m_threshold)
        return;
    m_dragging = true;
    if (m_moving) {
        const QPoint by = to - m_movedFrom;
        const QPoint inside = keptInside(m_movedAnchor + by, m_movedCorner + by);
        m_anchor = m_movedAnchor + by + inside;
        m_corner = m_movedCorner + by + inside;
    } else {
        m_corner = clamped(to + m_offset, m_bounds);
    }
}

void Selection::release()
{
    m_pressed = m_dragging = m_moving = false;
}

void Selection::setSquare(bool square)
{
    m_square = square;
}

void Selection::setMoving(bool moving)
{
    if (moving == m_moving || (moving && !m_dragging))
        return;
    if (moving) {
        m_movedFrom = m_pointer;
        m_movedAnchor = m_anchor;
        m_movedCorner = m_square ? corner() : m_corner;
    } else {
        m_offset = m_corner - m_pointer;
    }
    m_moving = moving;
}

void Selection::nudge(QPoint by)
{
    if (!m_dragging)
        return;
    by += keptInside(m_anchor + by, corner() + by);
    m_anchor += by;
    m_corner += by;
    m_offset += by;
    m_movedAnchor += by;
    m_movedCorner += by;
}

void Selection::resize(QPoint by)
{
    if (!m_dragging)
        return;
    by = clamped(m_corner + by, m_bounds) - m_corner;
    m_corner += by;
    m_offset += by;
    m_movedCorner += by;
}

QRect Selection::rect() const
{
    if (!m_dragging)
        return {};
    const QPoint end = corner();
    return {QPoint(std::min(m_anchor.x(), end.x()), std::min(m_anchor.y(), end.y())),
            QPoint(std::max(m_anchor.x(), end.x()), std::max(m_anchor.y(), end.y()))};
}

QPoint Selection::corner() const
{
    if (!m_square)
        return m_corner;
    const QPoint reach = m_corner - m_anchor;
    const int signX = reach.x() < 0 ? -1 : 1;
    const int signY = reach.y() < 0 ? -1 : 1;
    const int roomX = signX < 0 ? m_anchor.x() - m_bounds.left() : m_bounds.right() - m_anchor.x();
    const int roomY = signY < 0 ? m_anchor.y() - m_bounds.top() : m_bounds.bottom() - m_anchor.y();
    const int side = std::min({std::max(std::abs(reach.x()), std::abs(reach.y())), roomX, roomY});
    return m_anchor + QPoint(signX * side, signY * side);
}

// How far a rectangle with these corners must move to lie within the bounds.
QPoint Selection::keptInside(QPoint anchor, QPoint end) const
{
    const auto shift = [](int low, int high, int first, int last) {
        return low < first ? first - low : high > last ? last - high : 0;
    };
    return {shift(std::min(anchor.x(), end.x()), std::max(anchor.x(), end.x()), m_bounds.left(), m_bounds.right()),
            shift(std::min(anchor.y(), end.y()), std::max(anchor.y(), end.y()), m_bounds.top(), m_bounds.bottom())};
}

} // namespace qm
