#include "helpers/qmscroll/FrameChange.h"

#include "helpers/curtain/Dimming.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace qm {

bool areAlike(const QRgb *pixels, const QRgb *others, int count)
{
    QRgb different = 0;
    for (int i = 0; i < count; ++i)
        different |= pixels[i] ^ others[i];
    return (different & 0xffffff) == 0;
}

bool differs(const QImage &frame, const QImage &other, int aside)
{
    if (frame.size() != other.size())
        return true;
    const int width = std::max(0, frame.width() - aside);
    const size_t bytes = size_t(width) * sizeof(QRgb);
    for (int y = 0; y < frame.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(frame.constScanLine(y));
        const auto *otherRow = reinterpret_cast<const QRgb *>(other.constScanLine(y));
        if (std::memcmp(row, otherRow, bytes) != 0 && !areAlike(row, otherRow, width))
            return true;
    }
    return false;
}

bool isPartlyDimmed(const QImage &frame, const QImage &before)
{
    if (frame.size() != before.size())
        return false;
    constexpr qint64 leastShare = 64;
    constexpr QRgb color = 0xffffff;
    qint64 dimmed = 0, others = 0; // a line or two of the overlay's, or something that moves
    std::vector<QRgb> shade(size_t(frame.width()));
    for (int y = 0; y < frame.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(frame.constScanLine(y));
        const auto *rowBefore = reinterpret_cast<const QRgb *>(before.constScanLine(y));
        if (areAlike(row, rowBefore, frame.width()))
            continue;
        dim(shade.data(), rowBefore, shade.size());
        for (int x = 0; x < frame.width(); ++x) {
            if (((row[x] ^ rowBefore[x]) & color) != 0)
                ++(((row[x] ^ shade[size_t(x)]) & color) == 0 ? dimmed : others);
        }
    }
    return dimmed > others && dimmed > qint64(frame.width()) * frame.height() / leastShare;
}

} // namespace qm
