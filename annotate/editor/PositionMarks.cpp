#include "annotate/editor/PositionMarks.h"

#include <QPainter>

#include <algorithm>

namespace qm {

static constexpr double thickness = 5, fromEdge = 3, shortest = 24; // points

// Along one side: where the mark begins and how long it is.
static std::pair<double, double> along(double shownFrom, double shownLength, double side)
{
    const double room = side - 2 * fromEdge;
    const double length = std::clamp(room * side / shownLength, shortest, room);
    const double share = std::clamp(-shownFrom / (shownLength - side), 0.0, 1.0);
    return {fromEdge + share * (room - length), length};
}

QList<QRectF> PositionMarks::of(const CanvasMapping &mapping)
{
    QList<QRectF> marks;
    const QRectF &shown = mapping.display;
    const QSizeF view = mapping.view;
    if (shown.height() > view.height() + 1) {
        const auto [from, length] = along(view.height() - shown.bottom(), shown.height(), view.height());
        marks << QRectF(view.width() - fromEdge - thickness, from, thickness, length);
    }
    if (shown.width() > view.width() + 1) {
        const auto [from, length] = along(shown.x(), shown.width(), view.width());
        marks << QRectF(from, view.height() - fromEdge - thickness, length, thickness);
    }
    return marks;
}

void PositionMarks::paint(const QList<QRectF> &marks, QPainter &painter)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QColor(255, 255, 255, 110)); // to be seen on dark and light alike
    painter.setBrush(QColor(0, 0, 0, 110));
    for (const QRectF &mark : marks)
        painter.drawRoundedRect(mark.adjusted(0.5, 0.5, -0.5, -0.5), thickness / 2, thickness / 2);
    painter.restore();
}

} // namespace qm
