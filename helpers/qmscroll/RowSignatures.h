#pragma once

#include <QImage>

#include <array>
#include <vector>

namespace qm {

// What is left of a frame to compare its rows quickly. Equal rows have equal signatures; the reverse has to be looked up in
// the pixels. Where rows must be equal to the pixel it is a hash; else their mean brightness in thirty-two columns of equal
// width, for means are closer together than pixels are when the differences are noise. Rows and columns in pixels.
class RowSignatures
{
public:
    // Of the columns from left to right (excluded) of an RGB32 frame. The tolerance is that of a pixel's channels.
    RowSignatures(const QImage &frame, int left, int right, int tolerance);

    bool differ(int y, const RowSignatures &other, int otherY) const;

    // In how many rows this frame from y on and the other from otherY on differ, of `rows` rows. More than `most` may be
    // told as any number above it.
    int differing(int y, const RowSignatures &other, int otherY, int rows, int most) const;

    // How many rows in [from, to) differ from the one below: what there is to recognise.
    int changes(int from, int to) const;

    // Whether rows like the `height` ones from y on stand nowhere else in the frame. With a tolerance, where they overlap
    // themselves does not count: of a soft picture all neighbours are alike.
    bool distinct(int y, int height) const;

private:
    static constexpr size_t bandCount = 32;
    using Bands = std::array<quint8, bandCount>;

    static int distance(const Bands &a, const Bands &b);
    void addHashes(const QImage &frame, int left, int right);
    void addBands(const QImage &frame, int left, int right);

    const int m_height;
    const int m_tolerance;         // 0, or the largest sum of differences between the bands of two equal rows
    std::vector<quint32> m_hashes; // of all rows, without a tolerance
    std::vector<Bands> m_bands;    // of all rows, with one
    std::vector<int> m_changesAbove;
};

} // namespace qm
