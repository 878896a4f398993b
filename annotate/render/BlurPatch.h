#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/render/PixelGrid.h"

#include <QImage>

namespace qm {

// A blurred region on the pixels of one output. Made from the source alone, so items underneath do not show through.
struct BlurPatch {
    QRect device;    // output pixels, clipped to the output; empty when nothing is drawn
    QImage pixels;   // premultiplied, same size as device
    QImage coverage; // Alpha8: share of each pixel inside the shape; null if every pixel is fully inside

    void drawOn(QImage &output, const QRect &clip) const; // replaces, transparency included; clip within the output
};

BlurPatch makeBlurPatch(const Image &source, const Annotation &item, const PixelGrid &output);

// Source pixels the item's patch is made from, y down: its box rounded outward.
QRect blurRegion(const Image &source, const Annotation &item);

} // namespace qm
