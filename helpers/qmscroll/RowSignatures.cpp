#include "helpers/qmscroll/RowSignatures.h"

#include "helpers/qmscroll/PixelRows.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace qm {

static int bandTolerance(int tolerance, int width, int bands)
{
    if (tolerance == 0)
        return 0;
    const double pixels = std::max(1.0, double(width) / bands);
    return int(bands * std::min(double(tolerance), 1 + tolerance / std::sqrt(pixels)));
}

RowSignatures::RowSignatures(const QImage &frame, int left, int right, int tolerance)
    : m_height(frame.height())
    , m_tolerance(bandTolerance(tolerance, right - left, int(bandCount)))
    , m_changesAbove(size_t(m_height) + 1)
{
    if (m_tolerance == 0)
        addHashes(frame, left, right);
    else
        addBands(frame, left, right);
    for (int y = 0; y < m_height; ++y)
        m_changesAbove[size_t(y) + 1] = m_changesAbove[size_t(y)] + (y + 1 < m_height && differ(y, *this, y + 1));
}

// Sums of pixels and sums of those sums, as in Fletcher's checksum (IEEE Transactions on Communications, 1982), in
// several lanes that vectorise well.
void RowSignatures::addHashes(const QImage &frame, int left, int right)
{
    constexpr int lanes = 16;
    constexpr quint32 factor = 0x9e3779b1; // odd, with well mixed bits
    const int width = right - left;
    m_hashes.reserve(size_t(m_height));
    for (int y = 0; y < m_height; ++y) {
        const quint32 *line = PixelRows::at(frame, y) + left;
        quint32 sums[lanes] = {}, ofSums[lanes] = {};
        int x = 0;
        for (; x + lanes <= width; x += lanes) {
            for (int lane = 0; lane < lanes; ++lane) {
                sums[lane] += line[x + lane] & 0x00ffffff;
                ofSums[lane] += sums[lane];
            }
        }
        quint32 hash = 0;
        for (; x < width; ++x)
            hash = (hash ^ (line[x] & 0x00ffffff)) * factor;
        for (int lane = 0; lane < lanes; ++lane) {
            hash = (hash ^ sums[lane]) * factor;
            hash = (hash ^ hash >> 15 ^ ofSums[lane]) * factor;
        }
        m_hashes.push_back(hash ^ hash >> 16);
    }
}

// Sum of red, green and blue of all pixels. Two channels share a word, so at most 256 pixels at a time.
static quint32 brightness(const quint32 *pixels, int count)
{
    quint32 total = 0;
    for (int start = 0; start < count; start += 256) {
        const int end = std::min(count, start + 256);
        quint32 redAndBlue = 0, green = 0;
        for (int x = start; x < end; ++x) {
            redAndBlue += pixels[x] & 0x00ff00ff;
            green += (pixels[x] >> 8) & 0xff;
        }
        total += (redAndBlue & 0xffff) + (redAndBlue >> 16) + green;
    }
    return total;
}

void RowSignatures::addBands(const QImage &frame, int left, int right)
{
    int starts[bandCount + 1];
    for (size_t band = 0; band <= bandCount; ++band)
        starts[band] = left + int(qint64(right - left) * qint64(band) / qint64(bandCount));
    m_bands.resize(size_t(m_height));
    for (int y = 0; y < m_height; ++y) {
        const quint32 *line = PixelRows::at(frame, y);
        for (size_t band = 0; band < bandCount; ++band) {
            const int width = starts[band + 1] - starts[band];
            const quint32 sum = brightness(line + starts[band], width);
            m_bands[size_t(y)][band] = quint8(double(sum) / (3 * std::max(1, width)) + 0.5);
        }
    }
}

int RowSignatures::distance(const Bands &a, const Bands &b)
{
    int sum = 0;
    for (size_t band = 0; band < bandCount; ++band)
        sum += std::abs(int(a[band]) - int(b[band]));
    return sum;
}

bool RowSignatures::differ(int y, const RowSignatures &other, int otherY) const
{
    if (m_tolerance == 0)
        return m_hashes[size_t(y)] != other.m_hashes[size_t(otherY)];
    return distance(m_bands[size_t(y)], other.m_bands[size_t(otherY)]) > m_tolerance;
}

int RowSignatures::differing(int y, const RowSignatures &other, int otherY, int rows, int most) const
{
    int count = 0;
    if (m_tolerance == 0) {
        const quint32 *here = m_hashes.data() + y, *there = other.m_hashes.data() + otherY;
        constexpr int block = 64; // rows counted before stopping early
        for (int start = 0; start < rows && count <= most; start += block) {
            const int end = std::min(rows, start + block);
            for (int row = start; row < end; ++row)
                count += here[row] != there[row];
        }
        return count;
    }
    // Rows far apart first: neighbours tell the same.
    constexpr int stride = 7;
    for (int start = 0; start < stride; ++start) {
        for (int row = start; row < rows && count <= most; row += stride)
            count += differ(y + row, other, otherY + row);
    }
    return count;
}

int RowSignatures::changes(int from, int to) const
{
    return from < to ? m_changesAbove[size_t(to)] - m_changesAbove[size_t(from)] : 0;
}

bool RowSignatures::distinct(int y, int height) const
{
    if (changes(y, y + height - 1) == 0)
        return false;
    const int nearest = m_tolerance == 0 ? 1 : height;
    for (int other = 0; other + height <= m_height; ++other) {
        int row = std::abs(other - y) < nearest ? -1 : 0;
        while (row >= 0 && row < height)
            row = differ(y + row, *this, other + row) ? -1 : row + 1;
        if (row == height)
            return false;
    }
    return true;
}

} // namespace qm
