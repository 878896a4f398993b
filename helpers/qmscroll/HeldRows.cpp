#include "helpers/qmscroll/HeldRows.h"

#include <algorithm>
#include <cstring>

namespace qm {

HeldRows::HeldRows(int width)
    : m_width(width)
{
}

void HeldRows::take(const Frame &frame, int at, int from, int to)
{
    from = std::max(from, m_first - at);
    if (from >= to)
        return;
    if (at + to > end()) {
        m_hashes.resize(size_t(at + to - m_first));
        m_pixels.resize(m_hashes.size() * size_t(m_width));
    }
    std::copy(frame.rows.begin() + from, frame.rows.begin() + to, m_hashes.begin() + (at + from - m_first));
    for (int y = from; y < to; ++y)
        std::memcpy(m_pixels.data() + size_t(at + y - m_first) * size_t(m_width), frame.image.constScanLine(y),
                    size_t(m_width) * sizeof(quint32));
}

void HeldRows::cut(int end)
{
    m_hashes.resize(size_t(std::clamp(end, m_first, this->end()) - m_first));
    m_pixels.resize(m_hashes.size() * size_t(m_width));
}

void HeldRows::drop(int first)
{
    const int count = std::clamp(first, m_first, end()) - m_first;
    m_hashes.erase(m_hashes.begin(), m_hashes.begin() + count);
    m_pixels.erase(m_pixels.begin(), m_pixels.begin() + qsizetype(count) * m_width);
    m_first += count;
}

QImage HeldRows::pixels(int from, int to) const
{
    const quint32 *start = m_pixels.data() + size_t(from - m_first) * size_t(m_width);
    return {reinterpret_cast<const uchar *>(start), m_width, to - from, m_width * int(sizeof(quint32)),
            QImage::Format_RGB32};
}

} // namespace qm
