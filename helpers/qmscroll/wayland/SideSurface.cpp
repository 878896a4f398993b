#include "helpers/qmscroll/wayland/SideSurface.h"

#include <QPainter>

#include <cmath>
#include <wayland-client-protocol.h>

namespace qm {

SideSurface::SideSurface(const SurfaceGlobals &globals, const WaylandOutput &output, QSize pixels)
    : m_surface(globals, output)
    , m_pixels(pixels)
    , m_changed(QRect(QPoint(), pixels))
{
    m_surface.setPixels(pixels);
    m_surface.setKeyboard(false);
    setInput(globals, {});
}

QPoint SideSurface::pixelAt(QPointF point) const
{
    const QSizeF size = m_surface.size();
    return {int(std::floor(point.x() * m_pixels.width() / size.width())),
            int(std::floor(point.y() * m_pixels.height() / size.height()))};
}

void SideSurface::setFills(const QList<Fill> &fills)
{
    for (const QList<Fill> &changing : {m_fills, fills}) {
        for (const Fill &fill : changing)
            change(fill.area);
    }
    m_fills = fills;
}

void SideSurface::setPicture(const QImage &picture, QPoint at)
{
    change(QRect(m_pictureAt, m_picture.size()));
    m_picture = picture;
    m_pictureAt = at;
    change(QRect(m_pictureAt, m_picture.size()));
}

void SideSurface::setInput(const SurfaceGlobals &globals, const QRegion &area)
{
    wl_region *region = wl_compositor_create_region(globals.compositor);
    const double perX = double(m_surface.size().width()) / m_pixels.width();
    const double perY = double(m_surface.size().height()) / m_pixels.height();
    for (const QRect &part : area) {
        const QRect points =
            QRectF(part.x() * perX, part.y() * perY, part.width() * perX, part.height() * perY).toAlignedRect();
        wl_region_add(region, points.x(), points.y(), points.width(), points.height());
    }
    wl_surface_set_input_region(m_surface.handle(), region);
    wl_region_destroy(region);
    if (m_isShown)
        wl_surface_commit(m_surface.handle());
}

void SideSurface::setKeyboard(bool takesIt)
{
    m_surface.setKeyboard(takesIt);
    if (m_isShown)
        wl_surface_commit(m_surface.handle());
}

void SideSurface::change(const QRegion &area)
{
    const QRegion seen = area & QRect(QPoint(), m_pixels);
    m_changed += seen;
    for (QRegion &missing : m_missing)
        missing += seen;
}

void SideSurface::present()
{
    if (m_changed.isEmpty() || m_surface.awaitsFrame() || !m_surface.isConfigured())
        return;
    ShmBuffer *buffer = m_surface.idleBuffer(OutputSurface::Alpha::clear);
    if (!buffer)
        return;
    // A new one is clear all over.
    QRegion missing = m_missing.contains(buffer) ? m_missing[buffer] : QRegion(QRect(m_pictureAt, m_picture.size()));
    if (!m_missing.contains(buffer)) {
        for (const Fill &fill : std::as_const(m_fills))
            missing += fill.area;
    }
    QImage target(reinterpret_cast<uchar *>(buffer->pixels()), m_pixels.width(), m_pixels.height(),
                  buffer->bytesPerLine(), QImage::Format_ARGB32_Premultiplied);
    for (const QRect &part : missing &QRect(QPoint(), m_pixels))
        paint(target, part);
    m_missing[buffer] = QRegion();
    m_surface.show(*buffer, {m_changed.begin(), size_t(m_changed.rectCount())});
    m_changed = QRegion();
    m_isShown = true;
}

void SideSurface::paint(QImage &target, const QRect &part) const
{
    QPainter painter(&target);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(part, Qt::transparent);
    for (const Fill &fill : m_fills) {
        for (const QRect &area : fill.area &part)
            painter.fillRect(area, QColor::fromRgba(fill.color));
    }
    const QRect common = part & QRect(m_pictureAt, m_picture.size());
    if (!common.isEmpty())
        painter.drawImage(common.topLeft(), m_picture, common.translated(-m_pictureAt));
}

} // namespace qm
