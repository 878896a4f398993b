#include "annotate/editor/CanvasFrame.h"

#include "annotate/render/AnnotationRenderer.h"

#include <QPainter>

#include <cmath>

namespace qm {

QRegion CanvasFrame::show(const AnnotationDoc &doc, const CanvasMapping &mapping, QSize widget, double pixelRatio,
                          Resolution resolution)
{
    const bool samePicture =
        !isEmpty() && m_cache.source == doc.source.pixels.cacheKey() && m_mapping.region == mapping.region;
    const double limit = mapping.renderLimit(pixelRatio);
    m_exact = !samePicture || resolution == Resolution::exact ||
              PixelGrid::ofOutput(doc, limit).pixels == m_cache.frame.size();
    if (m_exact)
        m_limit = limit;
    m_mapping = mapping;
    m_pixelRatio = pixelRatio;
    // Drop the returned picture at once: holding it would force a copy for the next frame.
    AnnotationRenderer::render(doc, m_limit, &m_cache);

    const QRect before = m_target;
    m_target = targetIn(widget);
    const QRegion all(QRect({0, 0}, widget));
    return m_target == before && samePicture ? onWidget(m_cache.changed) & all : all;
}

QRect CanvasFrame::targetIn(QSize widget) const
{
    const QRectF &shown = m_mapping.display;
    const QRectF exact(shown.x() * m_pixelRatio, (widget.height() - shown.bottom()) * m_pixelRatio,
                       shown.width() * m_pixelRatio, shown.height() * m_pixelRatio);
    const QPoint corner(int(std::lround(exact.x())), int(std::lround(exact.y())));
    const QSize frame = m_cache.frame.size();
    // If rendered at the size of its place, show it as it is: a fraction of a pixel must not blur everything.
    if (std::abs(exact.width() - frame.width()) < 1 && std::abs(exact.height() - frame.height()) < 1)
        return {corner, frame};
    return {corner, QPoint(int(std::lround(exact.right())), int(std::lround(exact.bottom()))) - QPoint(1, 1)};
}

QRegion CanvasFrame::onWidget(const QRegion &framePixels) const
{
    QRegion result;
    const double x = double(m_target.width()) / std::max(m_cache.frame.width(), 1);
    const double y = double(m_target.height()) / std::max(m_cache.frame.height(), 1);
    const double around = isUnscaled() ? 0 : 1; // a stretched pixel bleeds into its neighbours
    for (const QRect &rect : framePixels) {
        const QRectF grown = QRectF(rect).adjusted(-around, -around, around, around);
        const QRectF device(m_target.x() + grown.x() * x, m_target.y() + grown.y() * y, grown.width() * x,
                            grown.height() * y);
        result |= QRectF(device.topLeft() / m_pixelRatio, device.size() / m_pixelRatio).toAlignedRect();
    }
    return result;
}

void CanvasFrame::paint(QPainter &painter, const QRegion &region, const QColor &background) const
{
    const bool shows = !isEmpty() && !m_mapping.display.isEmpty();
    const bool covers = shows && !m_cache.frame.hasAlphaChannel();
    for (const QRect &rect : region) {
        const QRectF device(QPointF(rect.topLeft()) * m_pixelRatio, QSizeF(rect.size()) * m_pixelRatio);
        if (!covers || !QRectF(m_target).contains(device))
            painter.fillRect(rect, background);
        const QRect part = device.toAlignedRect() & m_target;
        if (!shows || part.isEmpty())
            continue;
        painter.save();
        painter.setClipRect(rect);
        painter.scale(1 / m_pixelRatio, 1 / m_pixelRatio); // to device pixels
        if (isUnscaled()) {
            painter.drawImage(part.topLeft(), m_cache.frame, part.translated(-m_target.topLeft()));
        } else {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawImage(m_target, m_cache.frame);
        }
        painter.restore();
    }
}

} // namespace qm
