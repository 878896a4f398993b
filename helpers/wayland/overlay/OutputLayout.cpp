#include "helpers/wayland/overlay/OutputLayout.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qm {

namespace {

// A compositor's coordinates are multiples of this, and newer ones round them down: 399.996 is pixel 400.
constexpr double coordinateStep = 1.0 / 256;

// One side of a monitor; end is the first point after it.
struct Interval {
    int begin, end; // logical
    int length;     // pixels
};

bool overlap(const Interval &one, const Interval &other)
{
    return one.begin < other.end && other.begin < one.end;
}

// Where each interval begins once they have their pixels' lengths: after those that ended before it did, if it has to stay
// clear of them. Those that begin somewhere along another keep that offset, as far as the coarsest monitor has it.
template<class StaysClear>
QList<int> packed(const QList<Interval> &intervals, double coarsest, StaysClear staysClear)
{
    QList<int> order(intervals.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return intervals[a].begin < intervals[b].begin; });
    QList<int> begins(intervals.size());
    for (const int i : order) {
        begins[i] = int(std::floor((intervals[i].begin - intervals[order.first()].begin) * coarsest));
        for (const int before : order) {
            if (intervals[before].end <= intervals[i].begin && staysClear(i, before))
                begins[i] = std::max(begins[i], begins[before] + intervals[before].length);
        }
    }
    return begins;
}

} // namespace

OutputLayout::OutputLayout(const QList<Output> &outputs)
    : m_outputs(outputs)
{
    double coarsest = 16;
    QList<Interval> across, down;
    for (qsizetype i = 0; i < outputs.size(); ++i) {
        const QRect &logical = outputs[i].logical;
        coarsest = std::min(coarsest, scale(int(i)));
        across.append({logical.left(), logical.right() + 1, outputs[i].pixels.width()});
        down.append({logical.top(), logical.bottom() + 1, outputs[i].pixels.height()});
    }
    // Two monitors that lie side by side in any way are kept apart across, so only those above each other have to be kept
    // apart down as well.
    const QList<int> lefts = packed(across, coarsest, [](int, int) { return true; });
    const QList<int> tops = packed(down, coarsest, [&](int a, int b) { return overlap(across[a], across[b]); });
    for (qsizetype i = 0; i < outputs.size(); ++i)
        m_areas.append({QPoint(lefts[i], tops[i]), outputs[i].pixels});
}

QRect OutputLayout::bounds() const
{
    return std::accumulate(m_areas.cbegin(), m_areas.cend(), QRect(),
                           [](const QRect &all, const QRect &area) { return all | area; });
}

double OutputLayout::scale(int output) const
{
    return double(m_outputs[output].pixels.width()) / m_outputs[output].logical.width();
}

QPoint OutputLayout::pixelAt(int output, QPointF point) const
{
    const QPointF global = point + m_outputs[output].logical.topLeft();
    for (qsizetype i = 0; i < m_outputs.size(); ++i) {
        // Half open, unlike QRectF::contains().
        const QRect &there = m_outputs[i].logical;
        if (global.x() >= there.left() && global.x() < there.right() + 1 && global.y() >= there.top() &&
            global.y() < there.bottom() + 1) {
            output = int(i);
            break;
        }
    }
    const QRect &logical = m_outputs[output].logical;
    const QRect &area = m_areas[output];
    const QPointF within = global - logical.topLeft() + QPointF(coordinateStep, coordinateStep);
    const int x = int(std::floor(within.x() * area.width() / logical.width()));
    const int y = int(std::floor(within.y() * area.height() / logical.height()));
    return {area.left() + std::clamp(x, 0, area.width() - 1), area.top() + std::clamp(y, 0, area.height() - 1)};
}

QRect OutputLayout::pixels(const QRectF &logical) const
{
    qsizetype most = -1;
    double largest = 0;
    for (qsizetype i = 0; i < m_outputs.size(); ++i) {
        const QRectF shown = QRectF(m_outputs[i].logical) & logical;
        const double size = shown.isEmpty() ? 0 : shown.width() * shown.height();
        if (size > largest) {
            largest = size;
            most = i;
        }
    }
    if (most < 0)
        return {};
    const QRect &from = m_outputs[most].logical;
    const QRect &to = m_areas[most];
    const auto x = [&](double at) { return to.left() + int(std::lround((at - from.left()) * scale(int(most)))); };
    const auto y = [&](double at) { return to.top() + int(std::lround((at - from.top()) * scale(int(most)))); };
    return {QPoint(x(logical.left()), y(logical.top())), QPoint(x(logical.right()) - 1, y(logical.bottom()) - 1)};
}

} // namespace qm
