#pragma once

#include <QImage>

#include <array>
#include <vector>

namespace qm {

// What is left of a frame to compare its rows quickly: every row's mean brightness in thirty-two columns of equal width.
// Equal rows have equal bands; the reverse has to be looked up in the pixels. Rows and columns in pixels.
class RowBands
{
public:
    static constexpr size_t count = 32;
    using Row = std::array<quint8, count>;

    // Of the columns from left to right (excluded) of an RGB32 frame. Rows count as equal when their bands differ by the
    // tolerance at most: grey levels, summed over the bands.
    RowBands(const QImage &frame, int left, int right, int tolerance);

    bool differ(int y, const RowBands &other, int otherY) const;

    // How many rows in [from, to) differ from the one below: what there is to recognise.
    int changes(int from, int to) const;

    // Whether rows like the `height` ones from y on stand nowhere else in the frame. With a tolerance, where they overlap
    // themselves does not count: of a soft picture all neighbours are alike.
    bool distinct(int y, int height) const;

private:
    const int m_tolerance;
    std::vector<Row> m_rows;
    std::vector<int> m_changesAbove;
};

} // namespace qm
