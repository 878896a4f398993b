#pragma once

#include "annotate/render/PreparedItem.h"

#include <QColorTransform>
#include <QImage>
#include <QRegion>

namespace qm {

// What a view of a document keeps between frames: the picture scaled to the output, the prepared items, and the last
// frame, in which only changes are repainted. The owner just creates it and passes it to AnnotationRenderer::render;
// the resulting pixels are the same with or without it. Main thread.
// A caller that still holds the last frame when it asks for the next one forces a copy.
struct RenderCache {
    // The key that all cached data depends on.
    qint64 source = 0; // QImage::cacheKey
    PixelGrid grid;
    QImage::Format format = QImage::Format_Invalid;

    QImage base;            // the source scaled to the output's pixels, without items
    QColorTransform colors; // converts item colours from sRGB to the source's colour space
    QImage frame;
    QList<PreparedItem> items; // as shown in the frame
    QRegion changed;           // frame pixels repainted by the last render; everything for a new frame
};

} // namespace qm
