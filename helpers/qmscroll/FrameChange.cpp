#include "helpers/qmscroll/FrameChange.h"

#include <algorithm>
#include <cstring>

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

} // namespace qm
