#pragma once

#include <QImage>
#include <QRect>

#include <cstdlib>

namespace qm {

// Pixel comparison: each channel may differ by up to the tolerance. The fourth byte of RGB32 is ignored.
namespace PixelRows {

inline const quint32 *at(const QImage &image, int y)
{
    return reinterpret_cast<const quint32 *>(image.constScanLine(y));
}

bool differ(const quint32 *a, const quint32 *b, int count, int tolerance);

// The smallest rectangle outside of which two frames of the same size are equal; null if they are equal.
QRect changedPart(const QImage &a, const QImage &b, int tolerance);

// Differences between rows, summed over the channels and over all rows added.
struct Differences {
    quint64 energy = 0; // sum of squares
    quint64 amount = 0; // sum of absolute values
    qint64 drift = 0;   // sum of signed values; random noise cancels out

    void add(const quint32 *a, const quint32 *b, int count);
    bool oneWay() const { return 3 * quint64(std::abs(drift)) > amount; }
};

} // namespace PixelRows
} // namespace qm
