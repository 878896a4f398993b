#pragma once

#include <QImage>
#include <QPointF>
#include <QRect>

namespace qm {

// Replaces a region with squares of one colour to make it unreadable. Pixels, top row first. Any thread.
namespace Pixellate {

// Square cells of size pixels, one of which has a corner at anchor. A pixel belongs to the cell that contains its
// centre.
struct Cells {
    QPointF anchor;
    double size = 8;
};

// Cells for a region: one corner at its centre, a sixteenth of its shorter side wide, 8 to 20 pixels.
Cells cellsFor(const QRect &region);

// Fills result (ARGB32_Premultiplied) with the part of the picture that starts at corner, each pixel the mean of its
// cell; transparent beyond the picture. A mean covers all of a cell's pixels inside the picture, even outside that
// part.
void pixellate(const QImage &source, const Cells &cells, QPoint corner, QImage &result);

} // namespace Pixellate
} // namespace qm
