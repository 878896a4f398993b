#pragma once

#include <QList>
#include <QPointF>
#include <QRect>

namespace qm {

// Where the monitors' own pixels lie on one common plane. A compositor places monitors in logical coordinates, of which one
// may be two pixels here and one there; no factor fits both, and nobody wants enlarged pixels. So every monitor keeps its
// pixels, and they are moved together until they touch as they do on the desk. Pure geometry.
class OutputLayout
{
public:
    struct Output {
        QRect logical;
        QSize pixels;
    };
    explicit OutputLayout(const QList<Output> &outputs);

    const QList<QRect> &areas() const { return m_areas; } // pixels; they do not overlap
    QRect bounds() const;                                 // of all of them
    double scale(int output) const;                       // pixels for each logical unit

    // The pixel at a point of an output, in its logical coordinates. A point beyond its edge belongs to the output that is
    // there; where none is, the nearest pixel of this one is meant.
    QPoint pixelAt(int output, QPointF point) const;
    // A rectangle in the compositor's coordinates, as large as the output that shows most of it has it; null if none does.
    QRect pixels(const QRectF &logical) const;

private:
    QList<Output> m_outputs;
    QList<QRect> m_areas;
};

} // namespace qm
