#include "imaging/AreaAverage.h"

#include "imaging/Image.h"
#include "imaging/PngKernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qm {

static constexpr int mostRowsSummed = 256; // 256 x 255 still fits in 16 bits

AreaAverage::AreaAverage(QSize source, QSize target, const QRect &part, int channels)
    : m_source(source)
    , m_target(target)
    , m_part(part)
    , m_channels(channels)
    , m_bytes(qsizetype(source.width()) * channels)
    , m_sums(size_t(m_bytes))
    , m_columns(size_t(m_bytes) + 4) // pixels are read four channels at a time
    , m_targetY(part.top())
    , m_result(part.size(), QImage::Format_ARGB32_Premultiplied)
{
    m_result.fill(0);
}

// Adds the rows summed so far and a fraction of this one.
void AreaAverage::addSums(const uchar *row, float weight)
{
    for (size_t i = 0; i < size_t(m_bytes); ++i) {
        m_columns[i] += float(m_sums[i]) + weight * float(row[i]);
        m_sums[i] = 0;
    }
    m_summed = 0;
}

void AreaAverage::startColumns(const uchar *row, float weight)
{
    for (size_t i = 0; i < size_t(m_bytes); ++i)
        m_columns[i] = weight * float(row[i]);
}

const uchar *AreaAverage::premultiplied(const uchar *row)
{
    if (m_channels == 3 || allOpaque(row, m_source.width()))
        return row;
    m_opaque = false;
    m_premultiplied.resize(size_t(m_bytes));
    for (size_t i = 0; i < size_t(m_bytes); i += 4) {
        const int alpha = row[i + 3];
        for (size_t channel = 0; channel < 3; ++channel)
            m_premultiplied[i + channel] = uchar((row[i + channel] * alpha + 127) / 255);
        m_premultiplied[i + 3] = uchar(alpha);
    }
    return m_premultiplied.data();
}

// Source row i covers [i, i + 1) times the target's height, target row j covers [j, j + 1) times the source's: in these
// units every border is an integer.
void AreaAverage::add(const uchar *row)
{
    if (m_sourceY >= m_source.height() || isComplete())
        return;
    const qint64 height = m_target.height();
    const qint64 end = (qint64(m_sourceY) + 1) * height;
    const qint64 inside = end - qint64(m_part.top()) * m_source.height();
    ++m_sourceY;
    if (inside <= 0)
        return; // above the part
    row = premultiplied(row);
    if (inside < height) {
        startColumns(row, float(inside) / float(height));
        return;
    }
    const qint64 border = (qint64(m_targetY) + 1) * m_source.height();
    if (end < border) {
        PngKernels::best().accumulate(m_sums.data(), row, int(m_bytes));
        if (++m_summed == mostRowsSummed)
            addSums(row, 0);
        return;
    }
    const float beyond = float(end - border) / float(height);
    addSums(row, 1 - beyond);
    emitRow();
    startColumns(row, beyond);
}

namespace {

// Four floats, as GCC and Clang support on every processor.
using Four = float __attribute__((vector_size(16)));

inline Four load(const float *at)
{
    Four four;
    std::memcpy(&four, at, sizeof four);
    return four;
}

} // namespace

void AreaAverage::emitRow()
{
    auto *out = reinterpret_cast<QRgb *>(m_result.scanLine(m_targetY++ - m_part.top()));
    const qint64 source = m_source.width(), target = m_target.width();
    const float scale = float(double(target) / double(source) * m_target.height() / m_source.height());
    const float *column = m_columns.data();
    const qint64 left = m_part.left() * source;
    qint64 x = left / target;                               // the current source pixel
    float spent = float(left - x * target) / float(target); // the fraction of it used by the previous target pixel
    for (int i = m_part.left(); i <= m_part.right(); ++i) {
        const qint64 border = (qint64(i) + 1) * source;
        const qint64 whole = border / target; // beyond x, since nothing is enlarged
        const float part = float(border - whole * target) / float(target);
        Four sum = load(column + x * m_channels) * (1 - spent);
        for (++x; x < whole; ++x)
            sum += load(column + x * m_channels);
        if (part > 0)
            sum += load(column + x * m_channels) * part;
        spent = part;
        sum = sum * scale + 0.5f;
        const auto level = [&](int channel) { return QRgb(std::min(255.0f, sum[channel])); };
        const QRgb alpha = m_channels == 4 ? level(3) : 255u;
        *out++ = alpha << 24 | level(0) << 16 | level(1) << 8 | level(2);
    }
}

QImage AreaAverage::result() const
{
    QImage image = m_result;
    if (m_opaque && isComplete())
        image.reinterpretAsFormat(QImage::Format_RGB32);
    return image;
}

} // namespace qm
