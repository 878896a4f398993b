#pragma once

#include "annotate/render/PreparedItem.h"

#include <QColorTransform>
#include <QImage>
#include <QRegion>

namespace qm {

// What one place that shows a document keeps from frame to frame: the picture scaled to the output, the items ready to
// be painted, and the last frame, in which only what changed is painted anew. Whose it is only makes it and passes it to
// AnnotationRenderer::render; with it and without it the pixels are the same. Main thread.
// A caller that still holds the last frame when it asks for the next one makes that one a copy of it.
struct RenderCache {
    // What everything kept depends on.
    qint64 source = 0; // QImage::cacheKey
    PixelGrid grid;
    QImage::Format format = QImage::Format_Invalid;

    QImage base;            // the source on the output's pixels, without items
    QColorTransform colors; // of the items, from sRGB to the source's own
    QImage frame;
    QList<PreparedItem> items; // as the frame shows them
    QRegion changed;           // pixels of the frame that the last render painted anew; all of a new frame
};

} // namespace qm
