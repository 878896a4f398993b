#pragma once

#include <QImage>
#include <QRect>

#include <cstdlib>

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

// Of rows laid upon each other, summed over the channels and over as many rows as are added.
struct Differences {
    quint64 energy = 0; // squares
    quint64 amount = 0; // without their sign
    qint64 drift = 0;   // with it: differences that go up and down at random come to nothing

    void add(const quint32 *a, const quint32 *b, int count);
    bool oneWay() const { return 3 * quint64(std::abs(drift)) > amount; }
};

} // namespace PixelRows
} // namespace qm
