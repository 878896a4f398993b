#pragma once

#include <QImage>
#include <QRectF>

namespace qm {

// The part of a picture inside window, on size pixels: each is the exact mean of the source pixels it covers, so that
// thin strokes neither vanish nor alias however much a picture shrinks. Any thread.
// window is in source pixels, may be fractional and may reach beyond the picture: only pixels that exist are counted, and
// where there is none the result is transparent. format is RGB32 (when no alpha is needed) or ARGB32_Premultiplied.
// Nothing is resampled when a window of whole pixels has the size asked for. A null image when there is no memory.
QImage areaResampled(const QImage &source, const QRectF &window, QSize size, QImage::Format format);

} // namespace qm
