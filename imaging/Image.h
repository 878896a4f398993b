#pragma once

#include <QImage>
#include <QSizeF>

namespace qm {

// A picture: pixels, top row first, and its size in points. A value; copies share the pixels.
struct Image {
    QImage pixels;
    QSizeF size; // points

    double scale() const; // pixels per point; 1 for a null image
    bool isNull() const { return pixels.isNull(); }
};

// Pixels per point of a file with this resolution. 72 dpi is one pixel per point; a multiple of it, within 1 %, comes
// from a scaled screen (PNG stores pixels per metre, so 144 dpi reads back as 143.99); anything else counts as 1, since
// 96 dpi is simply the default elsewhere.
int scaleForDpi(double dpi);

// True if all of these four-byte pixels, with alpha last in memory, are opaque. (ARGB32 has it there on the processors
// we run on.)
bool allOpaque(const uchar *pixels, int count);

// The picture at the scale implied by dpi.
Image imageWithDpi(const QImage &pixels, double dpi);

} // namespace qm
