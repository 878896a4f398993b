#pragma once

#include <QImage>
#include <QRect>

#include <spa/param/video/raw.h>
#include <span>

namespace qm {

// A buffer of a video stream. What it says about itself is not taken on trust.
struct StreamPixels {
    std::span<const uchar> memory;
    qint64 offset = 0;       // bytes, of the first row
    qint64 bytesPerLine = 0; // negative: the last row comes first
    QSize size;
    spa_video_format format = SPA_VIDEO_FORMAT_UNKNOWN;

    // That part of it, RGB32; its own memory. Null if it is not all there, or its format is another than those below.
    QImage cut(const QRect &part) const;
};

constexpr spa_video_format streamFormats[] = {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx,
                                              SPA_VIDEO_FORMAT_RGBA};

} // namespace qm
