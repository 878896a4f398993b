#pragma once

#include "annotate/document/CanvasGeometry.h"
#include "annotate/render/RenderCache.h"

#include <QRegion>

class QPainter;

namespace qm {

// The rendered document as shown in a widget: rendered at screen resolution, painted pixel for pixel. Main thread.
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
    QRect targetIn(QSize widget) const;
    bool isUnscaled() const { return m_target.size() == m_cache.frame.size(); }
    QRegion onWidget(const QRegion &framePixels) const;

    RenderCache m_cache;
    CanvasMapping m_mapping;
    double m_limit = 0; // limit the frame was rendered with
    double m_pixelRatio = 1;
    QRect m_target; // of the frame, in device pixels of the widget
    bool m_exact = true;
};

} // namespace qm
