#pragma once

#include "annotate/document/CanvasGeometry.h"
#include "annotate/render/RenderCache.h"

#include <QRegion>

class QPainter;

namespace qm {

// The rendered document as it lies in one widget: rendered at the screen's resolution, painted pixel by pixel. Main thread.
// While the magnification changes the last frame is only stretched, since to shrink the source anew takes long.
class CanvasFrame
{
public:
    enum class Resolution { exact, mayWait };

    // Renders the document for a place in a widget. What must be painted anew, in the widget's coordinates.
    QRegion show(const AnnotationDoc &doc, const CanvasMapping &mapping, QSize widget, double pixelRatio,
                 Resolution resolution);
    bool isExact() const { return m_exact; } // otherwise show() should be asked for it once there is time
    bool isEmpty() const { return m_cache.frame.isNull(); }
    void forget() { *this = {}; } // gives the memory back

    void paint(QPainter &painter, const QRegion &region, const QColor &background) const;

private:
    QRect targetIn(QSize widget) const;
    bool isUnscaled() const { return m_target.size() == m_cache.frame.size(); }
    QRegion onWidget(const QRegion &framePixels) const;

    RenderCache m_cache;
    CanvasMapping m_mapping;
    double m_limit = 0; // what the frame was rendered with
    double m_pixelRatio = 1;
    QRect m_target; // of the frame, in the widget's own pixels
    bool m_exact = true;
};

} // namespace qm
