#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/document/TextLine.h"

namespace qm {

struct RenderCache;

// Makes one picture of a document: for the canvas, for saving and for copying alike. Main thread; needs a QGuiApplication
// for its font.
namespace AnnotationRenderer {

// The document's picture cut to its crop, with the items drawn over it in their order.
// Its size in points is the crop's, shrunk so that no edge is longer than maxDimension; it has all the pixels of the
// source, or as many as put maxDimension on its longest edge when that is fewer. The source's colour profile is kept.
// Never fails: what is missing is not drawn. Only a picture too large for memory has no pixels.
Image render(const AnnotationDoc &doc, std::optional<double> maxDimension = {}, RenderCache *cache = nullptr);

using qm::measureTextWidth;

} // namespace AnnotationRenderer
} // namespace qm
