#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/document/TextLine.h"
#include "annotate/render/BlurPatch.h"
#include "annotate/render/ItemShapes.h"
#include "annotate/render/PixelGrid.h"

class QColorTransform;
class QPainter;

namespace qm {

// An item prepared for painting on one output; a frame where it is unchanged only has to fill areas. Everything is an
// area to fill, never a stroke: repainting part of a picture then yields the same pixels as painting the whole. Main
// thread.
struct PreparedItem {
    Annotation item;
    QRect bounds;                 // output pixels it may touch
    QList<ItemArea> areas;        // in output pixels, filled in order
    std::optional<TextLine> line; // text items only; its outline is one of the areas
    QTransform lineTransform;     // from layout pixels to output pixels
    BlurPatch patch;
};

PreparedItem prepareItem(const Annotation &item, const Image &source, const PixelGrid &output);

// Paints the areas and coloured glyphs, but not the patch. colors: from sRGB to the output.
void paint(const PreparedItem &prepared, QPainter &painter, const QColorTransform &colors);

} // namespace qm
