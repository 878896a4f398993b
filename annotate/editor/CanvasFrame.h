#pragma once

#include "annotate/document/CanvasGeometry.h"
#include "annotate/render/RenderCache.h"

#include <QRegion>

class QPainter;

namespace qm {

// The rendered document as shown in a widget: rendered at screen resolution, painted pixel for pixel; magnified, its
// pixels are sharp squares. Main thread.
// Of a picture much larger than the widget only the part that is seen is rendered, and some around it.
// While the magnification changes, the last frame is merely stretched, because rescaling the source takes long.
class CanvasFrame
{
public:
    enum class Resolution { exact, mayWait };

    // Renders the document for its place in a widget. Returns the region to repaint, in widget coordinates.
    QRegion show(const AnnotationDoc &doc, const CanvasMapping &mapping, QSize widget, double pixelRatio,
                 Resolution resolution);
    bool isExact() const { return m_exact; } // if not, call show() with exact once there is time
    bool isEmpty() const { return m_cache.frame.isNull(); }
    void forget() { *this = {}; } // frees the memory

    void paint(QPainter &painter, const QRegion &region, const QColor &background) const;

private:
    QRectF placeOf(QSize pixels, QSize widget) const; // of the whole picture if rendered with so many
    QRect visibleOf(QSize pixels, QSize widget) const;
    void choosePart(const PixelGrid &whole, QSize widget);
    QImage magnified(const QRect &device) const;
    QRegion onWidget(const QRegion &framePixels) const;

    RenderCache m_cache;
    CanvasMapping m_mapping;
    double m_pixelRatio = 1;
    PixelGrid m_whole; // of the picture at the frame's resolution
    QRect m_part;      // of its pixels: those rendered
    QRectF m_target;   // of the frame, in device pixels of the widget; whole ones unless it is scaled
    bool m_scaled = false;
    bool m_exact = true;
};

} // namespace qm
