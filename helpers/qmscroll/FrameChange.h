#pragma once

#include <QImage>

namespace qm {

// Pixels at the right edge of a frame: a scroll bar with its track on a screen with two pixels per point.
constexpr int sideWidth = 48;

// True if two frames show different content, but for so many columns at their right edge. Both RGB32 of the same size; the
// fourth byte is ignored.
bool differs(const QImage &frame, const QImage &other, int aside = 0);

// True if a frame still shows, in part, the overlay in which the region was drawn: the rest is what was visible before, and
// nobody has painted over it yet. Both RGB32 of the same size.
bool isPartlyDimmed(const QImage &frame, const QImage &before);

// True if so many pixels of two rows show the same; the fourth byte is ignored.
bool areAlike(const QRgb *pixels, const QRgb *others, int count);

} // namespace qm
