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

// Fills result, ARGB32_Premultiplied, with the part of the picture that begins at corner, each pixel the mean of its cell;
// transparent beyond the picture. A cell's mean counts all its pixels inside the picture, also those outside the part.
void pixellate(const QImage &source, const Cells &cells, QPoint corner, QImage &result);

} // namespace Pixellate
} // namespace qm
