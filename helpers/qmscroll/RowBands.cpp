#include "helpers/qmscroll/RowBands.h"

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

RowBands::RowBands(const QImage &frame, int left, int right, int tolerance)
    : m_rows(size_t(frame.height()))
    , m_changesAbove(size_t(frame.height()) + 1)
{
    int starts[count + 1];
    for (int band = 0; band <= count; ++band)
        starts[band] = left + int(qint64(right - left) * band / count);
    float share[count];
    for (int band = 0; band < count; ++band)
        share[band] = 1.0f / (3.0f * float(qMax(1, starts[band + 1] - starts[band])));
    for (int y = 0; y < frame.height(); ++y) {
        const auto *line = reinterpret_cast<const quint32 *>(frame.constScanLine(y));
        for (int band = 0; band < count; ++band) {
            const quint32 sum = brightness(line + starts[band], starts[band + 1] - starts[band]);
            m_rows[size_t(y)][size_t(band)] = quint8(float(sum) * share[band] + 0.5f);
        }
    }
    for (int y = 0; y < frame.height(); ++y) {
        const bool differs = y + 1 < frame.height() && distance(row(y), row(y + 1)) > tolerance;
        m_changesAbove[size_t(y) + 1] = m_changesAbove[size_t(y)] + differs;
    }
}

int RowBands::distance(const Row &a, const Row &b)
{
    int sum = 0;
    for (size_t band = 0; band < count; ++band)
        sum += std::abs(int(a[band]) - int(b[band]));
    return sum;
}

} // namespace qm
