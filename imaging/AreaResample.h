#pragma once

#include <QImage>
#include <QRectF>

namespace qm {

// Resamples the part of a picture inside window to size pixels: each is the exact mean of the source pixels it covers,
// so that thin strokes neither vanish nor alias however much a picture shrinks. Any thread. window is in source pixels,
// may be fractional and may extend beyond the picture: only existing pixels count, and areas without any are
// transparent. format is RGB32 (if no alpha is needed) or ARGB32_Premultiplied. Nothing is resampled if a window of
// whole pixels already has the requested size. Returns a null image if memory runs out.
QImage areaResampled(const QImage &source, const QRectF &window, QSize size, QImage::Format format);

} // namespace qm
