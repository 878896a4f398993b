#include "annotate/editor/CanvasFrame.h"

#include "annotate/render/AnnotationRenderer.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <vector>

namespace qm {

static constexpr int mostAtOnce = 3000; // pixels on the longest edge; of a larger picture, only a part
static constexpr int around = 256;      // pixels rendered beyond what is seen, so that not every step of a pan renders

static QRect all(QSize pixels)
{
    return {QPoint(0, 0), pixels};
}

// Outward, but for what rounding left.
static QRect aligned(const QRectF &rect)
{
    constexpr double little = 1e-6;
    return rect.adjusted(little, little, -little, -little).toAlignedRect();
}

QRectF CanvasFrame::placeOf(QSize pixels, QSize widget) const
{
    const QRectF &shown = m_mapping.display;
    const QRectF exact(shown.x() * m_pixelRatio, (widget.height() - shown.bottom()) * m_pixelRatio,
                       shown.width() * m_pixelRatio, shown.height() * m_pixelRatio);
    const QPointF corner(std::lround(exact.x()), std::lround(exact.y()));
    // If rendered at the size of its place, show it as it is: a fraction of a pixel must not blur everything.
    if (std::abs(exact.width() - pixels.width()) < 1 && std::abs(exact.height() - pixels.height()) < 1)
        return {corner, QSizeF(pixels)};
    return {corner, QPointF(std::lround(exact.right()), std::lround(exact.bottom()))};
}

QRect CanvasFrame::visibleOf(QSize pixels, QSize widget) const
{
    const QRectF place = placeOf(pixels, widget);
    if (place.isEmpty())
        return {};
    const QRectF seen = (QRectF({0, 0}, QSizeF(widget) * m_pixelRatio) & place).translated(-place.topLeft());
    const double x = pixels.width() / place.width(), y = pixels.height() / place.height();
    return aligned({seen.x() * x, seen.y() * y, seen.width() * x, seen.height() * y}) & all(pixels);
}

void CanvasFrame::choosePart(const PixelGrid &whole, QSize widget)
{
    const QRect visible = visibleOf(whole.pixels, widget);
    if (whole.pixels != m_whole.pixels || whole.region != m_whole.region || !m_part.contains(visible))
        m_part = visible.adjusted(-around, -around, around, around) & all(whole.pixels);
    m_whole = whole;
}

QRegion CanvasFrame::show(const AnnotationDoc &doc, const CanvasMapping &mapping, QSize widget, double pixelRatio,
                          Resolution resolution)
{
    const bool samePicture =
        !isEmpty() && m_cache.source == doc.source.pixels.cacheKey() && m_mapping.region == mapping.region;
    m_mapping = mapping;
    m_pixelRatio = pixelRatio;
    const double screenPixels = pixelRatio * std::max(mapping.display.width(), mapping.display.height());
    PixelGrid whole = PixelGrid::ofOutput(doc, screenPixels);
    const bool large = std::max(whole.pixels.width(), whole.pixels.height()) > mostAtOnce;
    const bool inParts = large && visibleOf(whole.pixels, widget) != all(whole.pixels);
    if (large && !inParts)
        whole = PixelGrid::ofOutput(doc, mostAtOnce);
    m_exact = !samePicture || resolution == Resolution::exact || whole.pixels == m_whole.pixels ||
              !m_part.contains(visibleOf(m_whole.pixels, widget));
    if (m_exact && inParts) {
        choosePart(whole, widget);
    } else if (m_exact) {
        m_whole = whole;
        m_part = all(whole.pixels);
    }
    // Drop the returned picture at once: holding it would force a copy for the next frame.
    AnnotationRenderer::renderPart(doc, m_whole.part(m_part), &m_cache);

    const QRectF before = m_target, place = placeOf(m_whole.pixels, widget);
    const double x = place.width() / m_whole.pixels.width(), y = place.height() / m_whole.pixels.height();
    m_scaled = x != 1 || y != 1;
    m_target = QRectF(place.x() + m_part.x() * x, place.y() + m_part.y() * y, m_part.width() * x, m_part.height() * y);
    return m_target == before && samePicture ? onWidget(m_cache.changed) & all(widget) : QRegion(all(widget));
}

QRegion CanvasFrame::onWidget(const QRegion &framePixels) const
{
    QRegion result;
    const double x = m_target.width() / std::max(m_cache.frame.width(), 1);
    const double y = m_target.height() / std::max(m_cache.frame.height(), 1);
    const double bleed = m_scaled ? 1 : 0; // a stretched pixel bleeds into its neighbours
    for (const QRect &rect : framePixels) {
        const QRectF grown = QRectF(rect).adjusted(-bleed, -bleed, bleed, bleed);
        const QRectF device(m_target.x() + grown.x() * x, m_target.y() + grown.y() * y, grown.width() * x,
                            grown.height() * y);
        result |= QRectF(device.topLeft() / m_pixelRatio, device.size() / m_pixelRatio).toAlignedRect();
    }
    return result;
}

// Each pixel of the screen is what lies under its centre. Qt's own scaling loses the place in a large picture.
QImage CanvasFrame::magnified(const QRect &device) const
{
    const QImage &frame = m_cache.frame;
    QImage result(device.size(), frame.format());
    const auto under = [](int at, double from, double scale, int count) {
        return std::clamp(int(std::floor((at + 0.5 - from) / scale)), 0, count - 1);
    };
    const double x = m_target.width() / frame.width(), y = m_target.height() / frame.height();
    std::vector<int> columns(size_t(device.width()));
    for (int i = 0; i < device.width(); ++i)
        columns[size_t(i)] = under(device.x() + i, m_target.x(), x, frame.width());
    for (int row = 0; row < result.height(); ++row) {
        const auto *from = reinterpret_cast<const quint32 *>(
            frame.constScanLine(under(device.y() + row, m_target.y(), y, frame.height())));
        auto *to = reinterpret_cast<quint32 *>(result.scanLine(row));
        for (const int column : columns)
            *to++ = from[column];
    }
    return result;
}

void CanvasFrame::paint(QPainter &painter, const QRegion &region, const QColor &background) const
{
    constexpr double sharpFrom = 2; // screen pixels per pixel, from where on those are to be seen as what they are
    const bool shows = !isEmpty() && !m_mapping.display.isEmpty();
    const bool covers = shows && !m_cache.frame.hasAlphaChannel();
    for (const QRect &rect : region) {
        const QRectF device(QPointF(rect.topLeft()) * m_pixelRatio, QSizeF(rect.size()) * m_pixelRatio);
        if (!covers || !m_target.contains(device))
            painter.fillRect(rect, background);
        const QRect part = device.toAlignedRect() & aligned(m_target);
        if (!shows || part.isEmpty())
            continue;
        painter.save();
        painter.setClipRect(rect);
        painter.scale(1 / m_pixelRatio, 1 / m_pixelRatio); // to device pixels
        if (m_scaled && m_target.width() > sharpFrom * m_cache.frame.width()) {
            painter.drawImage(part.topLeft(), magnified(part));
        } else if (m_scaled) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.translate(m_target.topLeft());
            painter.scale(m_target.width() / m_cache.frame.width(), m_target.height() / m_cache.frame.height());
            painter.drawImage(QPoint(0, 0), m_cache.frame);
        } else {
            painter.drawImage(part.topLeft(), m_cache.frame, part.translated(-m_target.topLeft().toPoint()));
        }
        painter.restore();
    }
}

} // namespace qm
