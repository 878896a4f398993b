#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/render/PixelGrid.h"

#include <QImage>

namespace qm {

// A blurred region as it lies on the pixels of one output. Made of the source alone: what is drawn below does not show.
struct BlurPatch {
    QRect device;    // pixels of the output, within it; empty when nothing is drawn
    QImage pixels;   // premultiplied, as large as device
    QImage coverage; // Alpha8: how much of each pixel lies inside the shape; null when all of all of them does

    void drawOn(QImage &output, const QRect &clip) const; // replaces, transparency included; clip within the output
};

BlurPatch makeBlurPatch(const Image &source, const Annotation &item, const PixelGrid &output);

// The source pixels that the item's patch is made of, y down: its box rounded outward.
QRect blurRegion(const Image &source, const Annotation &item);

} // namespace qm
