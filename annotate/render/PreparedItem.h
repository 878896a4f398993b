#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/document/TextLine.h"
#include "annotate/render/BlurPatch.h"
#include "annotate/render/PixelGrid.h"

#include <QPainterPath>

class QPainter;

namespace qm {

// An item turned into what one output needs to paint it, so that a frame in which it stays as it is only fills.
// Everything is an area to fill, none a stroke to follow: a part of a picture painted anew then has the same pixels as
// the whole painted at once. Main thread.
struct PreparedItem {
    Annotation item;
    QRect bounds;                 // pixels of the output that it may touch
    QList<QPainterPath> areas;    // in pixels of the output, filled one after the other
    std::optional<TextLine> line; // of a text item; its outline is one of the areas
    QTransform lineTransform;     // from the line's layout to pixels of the output
    BlurPatch patch;
};

// before: what the item was in another frame, if known; what did not change is taken from it.
PreparedItem prepareItem(const Annotation &item, const Image &source, const PixelGrid &output,
                         const PreparedItem *before = nullptr);

// Paints the areas and coloured glyphs; a patch is not the painter's business.
void paint(const PreparedItem &prepared, QPainter &painter, const QColor &color);

} // namespace qm
