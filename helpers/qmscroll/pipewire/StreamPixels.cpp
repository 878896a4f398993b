#include "helpers/qmscroll/pipewire/StreamPixels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace qm {

static constexpr int pixelBytes = 4;
static constexpr QRgb opaque = 0xff000000; // in a stream the fourth byte may be anything

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
        auto *const line = reinterpret_cast<QRgb *>(image.scanLine(y));
        std::memcpy(line, row, size_t(part.width()) * pixelBytes);
        std::for_each(line, line + part.width(), [](QRgb &pixel) { pixel |= opaque; });
    }
    return isBlueFirst ? image : image.rgbSwapped();
}

} // namespace qm
