#include "helpers/qmscroll/pipewire/StreamPixels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace qm {

static constexpr int pixelBytes = 4;

QImage StreamPixels::cut(const QRect &part) const
{
    const bool isBlueFirst = format == SPA_VIDEO_FORMAT_BGRx || format == SPA_VIDEO_FORMAT_BGRA;
    const bool isRedFirst = format == SPA_VIDEO_FORMAT_RGBx || format == SPA_VIDEO_FORMAT_RGBA;
    const qint64 lastRow = offset + (size.height() - 1) * bytesPerLine;
    const qint64 rowBytes = qint64(size.width()) * pixelBytes;
    if ((!isBlueFirst && !isRedFirst) || !QRect(QPoint(), size).contains(part) || std::abs(bytesPerLine) < rowBytes ||
        std::min(offset, lastRow) < 0 || std::max(offset, lastRow) + rowBytes > qint64(memory.size()))
        return {};
    QImage image(part.size(), QImage::Format_RGB32);
    for (int y = 0; y < part.height(); ++y) {
        const uchar *const row = memory.data() + offset + (part.y() + y) * bytesPerLine + qint64(part.x()) * pixelBytes;
        std::memcpy(image.scanLine(y), row, size_t(part.width()) * pixelBytes);
    }
    return isBlueFirst ? image : image.rgbSwapped();
}

} // namespace qm
