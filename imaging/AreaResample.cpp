#include "imaging/AreaResample.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace qm {

// Fixed point throughout, in 16 bits so that the compiler can process eight channels at once: weights are fractions of
// 65536 and values have seven fractional bits. Each product is truncated to that; half a unit per product is added
// back.
static constexpr int weightOne = 0xffff;
static constexpr int fractionBits = 7;
static constexpr int mostTaps = 24; // source pixels per target pixel, along an axis

static inline quint16 weighed(quint16 value, quint16 weight)
{
    return quint16((quint32(value) * weight) >> 16);
}

namespace {

// Which source pixels each target pixel of one axis covers, and with what weights; they add up to weightOne, or to
// nothing if it lies outside.
struct Taps {
    struct Run {
        int first = 0, count = 0;
        size_t weights = 0; // index of the first
    };
    std::vector<Run> runs;
    std::vector<quint16> weights;
    int first = 0, end = 0; // range of source pixels used at all
};

} // namespace

static Taps tapsFor(double origin, double length, int size, int sourceSize)
{
    Taps taps;
    taps.runs.resize(size_t(size));
    taps.first = sourceSize;
    const double step = length / size;
    for (int i = 0; i < size; ++i) {
        const double from = std::max(origin + i * step, 0.0);
        const double to = std::min(origin + (i + 1) * step, double(sourceSize));
        Taps::Run &run = taps.runs[size_t(i)];
        run.weights = taps.weights.size();
        if (to - from < 1e-9)
            continue;
        run.first = std::min(int(from), sourceSize - 1);
        run.count = std::max(int(std::ceil(to)) - run.first, 1);
        // Differences of a rounded running sum add up exactly.
        int given = 0;
        for (int t = 0; t < run.count; ++t) {
            const double covered = std::min(double(run.first + t + 1), to) - from;
            const int sum = t + 1 == run.count ? weightOne : int(std::lround(covered / (to - from) * weightOne));
            taps.weights.push_back(quint16(sum - given));
            given = sum;
        }
        taps.first = std::min(taps.first, run.first);
        taps.end = std::max(taps.end, run.first + run.count);
    }
    taps.first = std::min(taps.first, taps.end);
    return taps;
}

// Rows of the source as premultiplied pixels, a few at a time, so that a picture in another format is never held twice.
namespace {

class SourceRows
{
public:
    SourceRows(const QImage &source, int first, int end)
        : m_source(source)
        , m_direct(source.format() == QImage::Format_RGB32 || source.format() == QImage::Format_ARGB32_Premultiplied)
        , m_first(first)
        , m_width(end - first)
    {
    }

    // Whether the rows between these two, with both, hold the same pixels. To be asked in rising order; it may not notice.
    bool areAlike(int from, int to)
    {
        if (!m_direct)
            return false;
        for (m_compared = std::max(m_compared, from); m_compared < to; ++m_compared) {
            if (std::memcmp(row(m_compared), row(m_compared + 1), size_t(m_width) * 4) != 0)
                m_alikeFrom = m_compared + 1;
        }
        return m_alikeFrom <= from;
    }

    const uchar *row(int y) // from pixel `first` on; valid until the next strip
    {
        if (m_direct)
            return m_source.constScanLine(y) + qsizetype(m_first) * 4;
        if (m_strip.isNull() || y < m_stripTop || y >= m_stripTop + m_strip.height()) {
            m_stripTop = y;
            m_strip = m_source.copy(m_first, y, m_width, std::min(stripRows, m_source.height() - y))
                          .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        }
        return m_strip.constScanLine(y - m_stripTop);
    }

private:
    static constexpr int stripRows = 64;
    const QImage &m_source;
    const bool m_direct;
    const int m_first, m_width;
    QImage m_strip;
    int m_stripTop = 0;
    int m_compared = 0, m_alikeFrom = 0; // the last row looked at, and the first of those like it
};

} // namespace

static void accumulate(quint16 *__restrict sums, const uchar *__restrict row, int bytes, quint16 weight)
{
    for (int i = 0; i < bytes; ++i)
        sums[i] = quint16(sums[i] + weighed(quint16(row[i] << fractionBits), weight));
}

namespace {

// The horizontal weights, for two source pixels of four channels at a time, and equally many for every target pixel: a
// varying count costs more than a few zero weights.
struct PairedTaps {
    struct Run {
        int first = 0;        // relative to the first pixel used at all
        quint64 rounding = 0; // for four channels
    };
    std::vector<Run> runs;
    std::vector<quint16> weights; // eight per pair
    int pairs = 0;

    explicit PairedTaps(const Taps &taps)
    {
        for (const Taps::Run &run : taps.runs)
            pairs = std::max(pairs, (run.count + 1) / 2);
        runs.reserve(taps.runs.size());
        for (const Taps::Run &run : taps.runs) {
            runs.push_back({run.count > 0 ? run.first - taps.first : 0, quint64(run.count / 2) * 0x0001000100010001u});
            for (int t = 0; t < 2 * pairs; ++t)
                weights.insert(weights.end(), 4, t < run.count ? taps.weights[run.weights + size_t(t)] : quint16(0));
        }
    }
};

} // namespace

// Four channels of each pixel, including the fractional bits. Pairs is taps.pairs if that is small, otherwise 0.
template<int Pairs>
static void weighAcross(quint64 *__restrict means, const quint16 *__restrict values, const PairedTaps &taps)
{
    const int pairs = Pairs > 0 ? Pairs : taps.pairs;
    const quint16 *weight = taps.weights.data();
    for (const PairedTaps::Run &run : taps.runs) {
        quint16 sums[8] = {};
        const quint16 *in = values + run.first * 4;
        for (int pair = 0; pair < pairs; ++pair, in += 8, weight += 8) {
            for (int c = 0; c < 8; ++c)
                sums[c] = quint16(sums[c] + weighed(in[c], weight[c]));
        }
        quint64 halves[2]; // each added as one number: no channel overflows into the next
        std::memcpy(halves, sums, sizeof sums);
        *means++ = halves[0] + halves[1] + run.rounding;
    }
}

static void rounded(uchar *__restrict out, const quint16 *__restrict values, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out[i] = uchar(quint16(values[i] + (1 << (fractionBits - 1))) >> fractionBits);
}

static QImage averaged(const QImage &source, const QRectF &window, QSize size, QImage::Format format)
{
    QImage result(size, format);
    if (result.isNull())
        return {};
    const Taps columns = tapsFor(window.x(), window.width(), size.width(), source.width());
    const Taps rows = tapsFor(window.y(), window.height(), size.height(), source.height());
    const PairedTaps across(columns);
    const int bytes = (columns.end - columns.first) * 4;

    SourceRows sourceRows(source, columns.first, columns.end);
    std::vector<quint16> sums(size_t(bytes) + size_t(across.pairs) * 8); // pixels with zero weight must exist
    const auto weigh = across.pairs == 1   ? weighAcross<1>
                       : across.pairs == 2 ? weighAcross<2>
                       : across.pairs == 3 ? weighAcross<3>
                                           : weighAcross<0>;
    std::vector<quint64> means(size_t(size.width()));
    for (int y = 0; y < size.height(); ++y) {
        uchar *out = result.scanLine(y);
        const Taps::Run &down = rows.runs[size_t(y)];
        if (down.count == 0 || bytes == 0) {
            std::memset(out, 0, means.size() * 4);
            continue;
        }
        const Taps::Run &above = rows.runs[size_t(std::max(y - 1, 0))];
        if (y > 0 && above.count > 0 && sourceRows.areAlike(above.first, down.first + down.count - 1)) {
            std::memcpy(out, result.constScanLine(y - 1), means.size() * 4); // blank, or within a blur's cells
            continue;
        }
        std::fill(sums.begin(), sums.end(), quint16(down.count / 2));
        for (int t = 0; t < down.count; ++t)
            accumulate(sums.data(), sourceRows.row(down.first + t), bytes, rows.weights[down.weights + size_t(t)]);
        weigh(means.data(), sums.data(), across);
        rounded(out, reinterpret_cast<const quint16 *>(means.data()), size.width() * 4);
    }
    return result;
}

// Copies whole pixels; transparent beyond the source.
static QImage copied(const QImage &source, const QRect &window, QImage::Format format)
{
    if (window == source.rect())
        return source.convertToFormat(format);
    const QRect inside = window & source.rect();
    if (inside == window)
        return source.copy(window).convertToFormat(format);
    QImage result(window.size(), format);
    if (result.isNull())
        return {};
    result.fill(Qt::transparent);
    if (inside.isEmpty())
        return result;
    const QImage part = source.copy(inside).convertToFormat(format);
    const QPoint at = inside.topLeft() - window.topLeft();
    for (int y = 0; y < part.height(); ++y)
        std::memcpy(result.scanLine(at.y() + y) + at.x() * 4, part.constScanLine(y), size_t(part.width()) * 4);
    return result;
}

QImage areaResampled(const QImage &source, const QRectF &window, QSize size, QImage::Format format)
{
    const QRectF whole(std::round(window.x()), std::round(window.y()), size.width(), size.height());
    const auto near = [](double a, double b) { return std::abs(a - b) < 1e-6; };
    if (near(window.x(), whole.x()) && near(window.y(), whole.y()) && near(window.width(), whole.width()) &&
        near(window.height(), whole.height()))
        return copied(source, whole.toRect(), format);
    // Truncating very many products would show: go through an intermediate grid with a few cells per pixel.
    const auto parts = [](double pixels, int count) {
        return pixels > mostTaps * double(count) ? int(pixels / count / mostTaps) + 1 : 1;
    };
    const QSize finer(size.width() * parts(window.width(), size.width()),
                      size.height() * parts(window.height(), size.height()));
    if (finer == size)
        return averaged(source, window, size, format);
    const QImage between = averaged(source, window, finer, format);
    return between.isNull() ? QImage() : areaResampled(between, between.rect(), size, format);
}

} // namespace qm
