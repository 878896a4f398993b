#pragma once

#include <QImage>

#include <array>
#include <vector>

namespace qm {

// What is left of a frame to compare its rows quickly: every row's mean brightness in thirty-two columns of equal width,
// and which rows differ from the one below. Equal rows have equal bands; the reverse has to be looked up in the pixels.
class RowBands
{
public:
    static constexpr int count = 32;
    using Row = std::array<quint8, count>;

    // Of the columns from left to right (excluded) of an RGB32 frame. Rows count as different from the one below when
    // their bands are further apart than the tolerance.
    RowBands(const QImage &frame, int left, int right, int tolerance);

    const Row &row(int y) const { return m_rows[size_t(y)]; }
    static int distance(const Row &a, const Row &b); // sum over the bands of the differences, in grey levels

    // How many rows in [from, to) differ from the one below: what there is to recognise.
    int changes(int from, int to) const
    {
        return from < to ? m_changesAbove[size_t(to)] - m_changesAbove[size_t(from)] : 0;
    }

private:
    std::vector<Row> m_rows;
    std::vector<int> m_changesAbove;
};

} // namespace qm
