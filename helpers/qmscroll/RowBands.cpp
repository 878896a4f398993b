#include "helpers/qmscroll/RowBands.h"

#include "helpers/qmscroll/PixelRows.h"

namespace qm {

// Red, green and blue of all pixels together. Two channels are added in one word, so no more than 256 pixels at a time.
static quint32 brightness(const quint32 *pixels, int count)
{
    quint32 total = 0;
    for (int start = 0; start < count; start += 256) {
        const int end = qMin(count, start + 256);
        quint32 redAndBlue = 0, green = 0;
        for (int x = start; x < end; ++x) {
            redAndBlue += pixels[x] & 0x00ff00ff;
            green += (pixels[x] >> 8) & 0xff;
        }
        total += (redAndBlue & 0xffff) + (redAndBlue >> 16) + green;
    }
    return total;
}

static int distance(const RowBands::Row &a, const RowBands::Row &b)
{
    int sum = 0;
    for (size_t band = 0; band < RowBands::count; ++band)
        sum += std::abs(int(a[band]) - int(b[band]));
    return sum;
}

RowBands::RowBands(const QImage &frame, int left, int right, int side, int tolerance)
    : m_tolerance(tolerance)
    , m_rows(size_t(frame.height()))
    , m_changesAbove(size_t(frame.height()) + 1)
{
    int starts[count + 1];
    starts[0] = left;
    starts[count] = right;
    for (size_t band = 1; band < count; ++band)
        starts[band] = left + side + int(qint64(right - left - 2 * side) * qint64(band - 1) / qint64(count - 2));
    float share[count];
    for (size_t band = 0; band < count; ++band)
        share[band] = 1.0f / (3.0f * float(qMax(1, starts[band + 1] - starts[band])));
    for (int y = 0; y < frame.height(); ++y) {
        const quint32 *line = PixelRows::at(frame, y);
        for (size_t band = 0; band < count; ++band) {
            const quint32 sum = brightness(line + starts[band], starts[band + 1] - starts[band]);
            m_rows[size_t(y)][band] = quint8(float(sum) * share[band] + 0.5f);
        }
    }
    m_innerRows = m_rows;
    for (Row &row : m_innerRows)
        row.front() = row.back() = 0;
    for (int y = 0; y < frame.height(); ++y) {
        const bool changes = y + 1 < frame.height() && differ(y, *this, y + 1, Columns::all);
        m_changesAbove[size_t(y) + 1] = m_changesAbove[size_t(y)] + changes;
    }
}

bool RowBands::differ(int y, const RowBands &other, int otherY, Columns columns) const
{
    const bool all = columns == Columns::all;
    const Row &a = (all ? m_rows : m_innerRows)[size_t(y)],
              &b = (all ? other.m_rows : other.m_innerRows)[size_t(otherY)];
    return m_tolerance == 0 ? a != b : distance(a, b) > m_tolerance;
}

int RowBands::changes(int from, int to) const
{
    return from < to ? m_changesAbove[size_t(to)] - m_changesAbove[size_t(from)] : 0;
}

bool RowBands::distinct(int y, int height, Columns columns) const
{
    if (changes(y, y + height - 1) == 0)
        return false;
    for (int other = 0; other + height <= int(m_rows.size()); ++other) {
        int row = 0;
        while (row < height && !differ(y + row, *this, other + row, columns))
            ++row;
        if (row == height && std::abs(other - y) >= (m_tolerance == 0 ? 1 : height))
            return false;
    }
    return true;
}

} // namespace qm
