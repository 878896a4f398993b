#include "annotate/AreaResample.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace qm {

namespace {

constexpr int weightOne = 1 << 15;

// Which source pixels each pixel of one axis covers, and by how much; the weights of each add up to weightOne, or to
// nothing when it lies outside.
struct Taps {
    struct Run {
        int first = 0, count = 0;
        size_t weights = 0; // where they begin
    };
    std::vector<Run> runs;
    std::vector<quint16> weights;
    int first = 0, end = 0; // source pixels used by any
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
        // The differences of a rounded running sum add up exactly.
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

    const uchar *row(int y) // from pixel first on; valid until the next strip
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
};

} // namespace

static void accumulate(quint32 *__restrict sums, const uchar *__restrict row, int bytes, quint16 weight)
{
    for (int i = 0; i < bytes; ++i)
        sums[i] += quint32(quint16(row[i]) * quint32(weight));
}

static QImage averaged(const QImage &source, const QRectF &window, QSize size, QImage::Format format)
{
    QImage result(size, format);
    if (result.isNull())
        return {};
    const Taps columns = tapsFor(window.x(), window.width(), size.width(), source.width());
    const Taps rows = tapsFor(window.y(), window.height(), size.height(), source.height());
    const int bytes = (columns.end - columns.first) * 4;
    const quint32 opaque = source.format() == QImage::Format_RGB32 || format == QImage::Format_RGB32 ? 0xff000000u : 0;

    SourceRows sourceRows(source, columns.first, columns.end);
    std::vector<quint32> sums(static_cast<size_t>(bytes));
    std::vector<float> means(sums.size());
    for (int y = 0; y < size.height(); ++y) {
        auto *out = reinterpret_cast<quint32 *>(result.scanLine(y));
        const Taps::Run &down = rows.runs[size_t(y)];
        if (down.count == 0 || bytes == 0) {
            std::memset(out, 0, size_t(size.width()) * 4);
            continue;
        }
        std::fill(sums.begin(), sums.end(), 0);
        for (int t = 0; t < down.count; ++t)
            accumulate(sums.data(), sourceRows.row(down.first + t), bytes, rows.weights[down.weights + size_t(t)]);
        for (size_t i = 0; i < sums.size(); ++i)
            means[i] = float(qint32(sums[i])) * (1.0f / (float(weightOne) * weightOne));
        for (int x = 0; x < size.width(); ++x) {
            const Taps::Run &across = columns.runs[size_t(x)];
            const float *in = means.data() + qsizetype(across.first - columns.first) * 4;
            const quint16 *weight = columns.weights.data() + across.weights;
            float channels[4] = {0.5f, 0.5f, 0.5f, 0.5f};
            for (int t = 0; t < across.count; ++t, in += 4) {
                const float w = weight[t];
                for (int c = 0; c < 4; ++c)
                    channels[c] += in[c] * w;
            }
            uchar rounded[4];
            for (int c = 0; c < 4; ++c)
                rounded[c] = uchar(int(channels[c]));
            std::memcpy(out + x, rounded, 4);
            if (across.count > 0)
                out[x] |= opaque;
        }
    }
    return result;
}

// Whole pixels as they are, beyond the source transparent.
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
    return averaged(source, window, size, format);
}

} // namespace qm
