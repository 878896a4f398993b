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

// Pixels per point of a file that says this resolution. 72 dpi is one pixel a point; a multiple of it within 1 % is a
// picture of a scaled screen (PNG stores pixels per metre, so 144 dpi reads back as 143.99); anything else is taken as 1,
// since 96 dpi is just what other systems call ordinary.
int scaleForDpi(double dpi);

// Whether so many pixels of four bytes, the last of them alpha, are all opaque. (ARGB32 has it there on the processors that
// we run on.)
bool allOpaque(const uchar *pixels, int count);

// The picture at the scale that dpi stands for.
Image imageWithDpi(const QImage &pixels, double dpi);

} // namespace qm
