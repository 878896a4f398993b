#pragma once

#include "annotate/document/Annotation.h"

#include <QSize>
#include <QTransform>

namespace qm {

// How a part of a document falls on pixels. Here, and nowhere else in the renderer, y up (points) meets y down (pixels).
struct PixelGrid {
    QRectF region;               // points, y up: what the pixels show
    QSize pixels;                // at least 1 x 1
    QSizeF size;                 // points; of the picture made, at least 1 x 1
    QTransform toPixels() const; // from points to pixels

    static PixelGrid ofSource(const Image &source); // the source's own pixels
    // The pixels of a rendered document. maxDimension limits the longest edge: of size in points, and of the pixels too.
    // Nothing is ever enlarged: without a limit, or with a large one, every source pixel is one pixel.
    static PixelGrid ofOutput(const AnnotationDoc &doc, std::optional<double> maxDimension);
};

// The part of the document that is shown, in points: its crop moved to the nearest whole source pixels, so that what is
// under a crop is never resampled; the whole picture without a crop. It may reach beyond the picture.
QRectF shownRegion(const AnnotationDoc &doc);

} // namespace qm
