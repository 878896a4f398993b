#pragma once

#include "annotate/document/Annotation.h"

namespace qm {

struct PixelGrid;
struct RenderCache;

// Renders a document to one picture, for the canvas, for saving and for copying alike. Main thread; text needs a
// QGuiApplication.
namespace AnnotationRenderer {

// The document's picture, cropped, with the items drawn over it in order. Its size in points is the crop's, scaled down
// so that no edge exceeds maxDimension. It keeps every source pixel, unless maxDimension pixels on the longest edge are
// fewer. The source's colour profile is kept. Never fails: what is missing is not drawn. Only a picture too large for
// memory has no pixels.
Image render(const AnnotationDoc &doc, std::optional<double> maxDimension = {}, RenderCache *cache = nullptr);

// The same, but for rounding, of a part of that picture: of a grid made from its PixelGrid::ofOutput.
Image renderPart(const AnnotationDoc &doc, const PixelGrid &grid, RenderCache *cache = nullptr);

} // namespace AnnotationRenderer
} // namespace qm
