#pragma once

#include <QImage>

#include <array>
#include <vector>

namespace qm {

// What is left of a frame to compare its rows quickly: every row's mean brightness in thirty-two columns, the outermost at
// each side as wide as asked for, the others equal. Equal rows have equal bands; the reverse has to be looked up in the
// pixels. Rows and columns in pixels.
class RowBands
{
public:
    static constexpr size_t count = 32;
    using Row = std::array<quint8, count>;
    enum class Columns { all, inner }; // inner: without the outermost band at each side

    // Of the columns from left to right (excluded) of an RGB32 frame. Rows count as equal when their bands differ by the
    // tolerance at most: grey levels, summed over the bands.
    RowBands(const QImage &frame, int left, int right, int side, int tolerance);

    bool differ(int y, const RowBands &other, int otherY, Columns columns) const;

    // How many rows in [from, to) differ from the one below: what there is to recognise. All columns.
    int changes(int from, int to) const;

    // Whether rows like the `height` ones from y on stand nowhere else in the frame. With a tolerance, where they overlap
    // themselves does not count: of a soft picture all neighbours are alike.
    bool distinct(int y, int height, Columns columns) const;

private:
    const int m_tolerance;
    std::vector<Row> m_rows;
    std::vector<Row> m_innerRows; // the outermost bands are zero
    std::vector<int> m_changesAbove;
};

} // namespace qm
