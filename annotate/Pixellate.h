#pragma once

#include <QImage>
#include <QPointF>
#include <QRect>

namespace qm {

// Squares of one colour in place of what could be read. Pixels, top row first. Any thread.
namespace Pixellate {

// Square cells of this many pixels; one has its corner at anchor. A pixel belongs to the cell its centre lies in.
struct Cells {
    QPointF anchor;
    double size = 8;
};

// The cells for a region: a corner at its centre, a sixteenth of its shorter side each, 8 to 20 pixels.
Cells cellsFor(const QRect &region);

// The part of the picture inside area, each pixel the mean of its cell. A cell's mean counts all its pixels inside the
// picture, also those outside area. ARGB32_Premultiplied, transparent beyond the picture; null when there is no memory.
QImage pixellated(const QImage &source, const Cells &cells, const QRect &area);

} // namespace Pixellate
} // namespace qm
