#pragma once

#include "annotate/document/Annotation.h"

#include <QSize>
#include <QTransform>

namespace qm {

// Maps part of a document to pixels. This is the only place in the renderer where y up (points) meets y down (pixels).
struct PixelGrid {
    QRectF region;               // points, y up: the part shown
    QSize pixels;                // at least 1 x 1
    QSizeF size;                 // points; of the resulting picture, at least 1 x 1
    QTransform toPixels() const; // from points to pixels

    PixelGrid part(const QRect &window) const; // window: some of the pixels

    static PixelGrid ofSource(const Image &source); // the source's own pixels
    // The pixels of a rendered document. maxDimension limits the longest edge, both in points and in pixels. Nothing is
    // ever enlarged: without a limit, or with a large one, each source pixel maps to one pixel.
    static PixelGrid ofOutput(const AnnotationDoc &doc, std::optional<double> maxDimension);
};

// The visible part of the document in points: the whole picture, or its crop snapped to whole source pixels so that a
// crop is never resampled. It may extend beyond the picture.
QRectF shownRegion(const AnnotationDoc &doc);

} // namespace qm
