#include "helpers/qmscroll/FrameChange.h"

#include <cstring>

namespace qm {

bool differs(const QImage &frame, const QImage &other)
{
    if (frame.size() != other.size())
        return true;
    const size_t bytes = size_t(frame.width()) * sizeof(QRgb);
    for (int y = 0; y < frame.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(frame.constScanLine(y));
        const auto *otherRow = reinterpret_cast<const QRgb *>(other.constScanLine(y));
        if (std::memcmp(row, otherRow, bytes) == 0)
            continue;
        for (int x = 0; x < frame.width(); ++x) {
            if ((row[x] ^ otherRow[x]) & 0xffffff)
                return true;
        }
    }
    return false;
}

} // namespace qm
