#pragma once

#include <QImage>

#include <array>
#include <vector>

namespace qm {

// A digest of a frame for comparing its rows quickly. Equal rows have equal signatures; the reverse has to be checked
// on the pixels. With tolerance 0 it is a hash; otherwise the mean brightness in thirty-two columns of equal width,
// since noise affects means less than single pixels. Rows and columns in pixels.
class RowSignatures
{
public:
    // Covers the columns from left to right (exclusive) of an RGB32 frame. The tolerance is that of a pixel's channels.
    RowSignatures(const QImage &frame, int left, int right, int tolerance);

    bool differ(int y, const RowSignatures &other, int otherY) const;

    // Number of rows, of `rows`, in which this frame from y on and the other from otherY on differ. Counting may stop
    // at any number above `most`.
    int differing(int y, const RowSignatures &other, int otherY, int rows, int most) const;

    // How many rows in [from, to) differ from the one below: a measure of recognisable content.
    int changes(int from, int to) const;

    // True if the `height` rows from y on occur nowhere else in the frame. With a tolerance, overlapping positions do
    // not count: in a soft picture all neighbours are alike.
    bool distinct(int y, int height) const;

private:
    static constexpr size_t bandCount = 32;
    using Bands = std::array<quint8, bandCount>;

    static int distance(const Bands &a, const Bands &b);
    void addHashes(const QImage &frame, int left, int right);
    void addBands(const QImage &frame, int left, int right);

    const int m_height;
    const int m_tolerance;         // 0, or the largest sum of band differences between two equal rows
    std::vector<quint32> m_hashes; // of all rows; only with tolerance 0
    std::vector<Bands> m_bands;    // of all rows; only with a tolerance above 0
    std::vector<int> m_changesAbove;
};

} // namespace qm
