#pragma once

#include <QImage>

#include <array>
#include <bitset>
#include <vector>

namespace qm {

// Frames are compared by hashes of their rows, one for each of sixteen bands of columns: narrow enough that a scroll bar
// or a sidebar spoils only its own bands, wide enough that a band holds several words. Equal pixels have equal hashes; two
// different rows of a band share one by a chance of 2^-32.
constexpr int bandCount = 16;
using RowHash = std::array<quint32, bandCount>;
using Bands = std::bitset<bandCount>;

// The first column of a band, or the one behind the last band.
inline size_t columnOf(size_t band, int width)
{
    return size_t(width) * band / bandCount;
}

// Of all rows of an RGB32 image; the fourth byte is ignored.
std::vector<RowHash> hashRows(const QImage &image);

// The bands in which two rows differ.
inline Bands differing(const RowHash &a, const RowHash &b)
{
    Bands bands;
    for (size_t band = 0; band < bandCount; ++band)
        bands[band] = a[band] != b[band];
    return bands;
}

struct Frame {
    QImage image;
    std::vector<RowHash> rows;

    Frame() = default;
    explicit Frame(const QImage &of)
        : image(of)
        , rows(hashRows(of))
    {
    }
    int height() const { return image.height(); }
};

} // namespace qm
