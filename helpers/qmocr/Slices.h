#pragma once

#include "helpers/qmocr/Line.h"

#include <QImage>
#include <QList>
#include <QRect>

namespace qm::ocr {

// Large pictures (scrolling captures, several screens) are read in overlapping pieces, each scaled according to its own
// text: whole, they would have to be shrunk until unreadable. Pure functions over the picture's pixels.

// The pieces in reading order; just one for a picture of ordinary size. Cuts are made where there is the least text
// near the intended size, and the pieces overlap by `overlap` pixels around each cut.
QList<QRect> slices(const QImage &gray);

// The part of a piece without `margin` pixels along the edges at which the whole picture goes on.
QRect clearPart(const QRect &piece, const QRect &whole, int margin);

// The lines of all pieces, without duplicates: read.at(i) are the lines of piece i, in pixels of the whole picture. A
// line in an overlap is taken from the piece to which its middle is nearer. Lines found only by the other piece are kept,
// unless they are stumps cut off by its edge. Of a line that goes on in the piece beside, each says a part.
QList<Line> joined(const QList<QRect> &pieces, const QList<QList<Line>> &read);

constexpr int overlap = 192; // pixels; more than the tallest line that can be read
constexpr int edge = 3;      // pixels; what comes as near to the end of its piece may be cut off

} // namespace qm::ocr
