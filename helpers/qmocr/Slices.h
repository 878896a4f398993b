#pragma once

#include "helpers/qmocr/Engine.h"

#include <QImage>
#include <QList>
#include <QRect>

namespace qm::ocr {

// Large pictures (scrolling captures, several screens) are read in overlapping pieces, each scaled by its own text: as one
// they would have to be shrunk below what can be read. Pure functions over the picture's pixels.

// The pieces in reading order; one for a picture of ordinary size. They are cut where the least is written near the place
// where a piece has to end, and overlap by `overlap` pixels around the cut.
QList<QRect> slices(const QImage &gray);

// The lines of all pieces, each line once: read.at(i) are those of piece i, in pixels of the whole picture. Of a line in
// the overlap the piece that holds its middle decides; what only the other one found is kept, unless it is the stump of a
// line that the piece's edge cut off.
QList<Line> joined(const QList<QRect> &pieces, const QList<QList<Line>> &read);

constexpr int overlap = 192; // pixels; more than the tallest line that is read

} // namespace qm::ocr
