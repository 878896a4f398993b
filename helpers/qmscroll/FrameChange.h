#pragma once

#include <QImage>

namespace qm {

// True if two frames show different content. Both RGB32 of the same size; the fourth byte is ignored.
bool differs(const QImage &frame, const QImage &other);

// The same for so many pixels of a row.
bool areAlike(const QRgb *pixels, const QRgb *others, int count);

} // namespace qm
