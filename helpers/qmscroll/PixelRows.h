#pragma once

#include <QImage>
#include <QRect>

namespace qm {

// How pixels are compared: a channel may differ by up to the tolerance. The fourth byte of RGB32 is never looked at.
namespace PixelRows {

inline const quint32 *at(const QImage &image, int y)
{
    return reinterpret_cast<const quint32 *>(image.constScanLine(y));
}

bool differ(const quint32 *a, const quint32 *b, int count, int tolerance);

// The smallest part of two frames of one size outside of which they are equal; null when they are equal.
QRect changedPart(const QImage &a, const QImage &b, int tolerance);

// Sum over the channels of the differences, each less `ignored`.
quint64 distance(const quint32 *a, const quint32 *b, int count, int ignored);

} // namespace PixelRows
} // namespace qm
