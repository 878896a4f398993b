#include "helpers/qmscroll/wayland/SideSurface.h"

#include <QPainter>

#include <cmath>
#include <wayland-client-protocol.h>

namespace qm {

static constexpr int markSize = 12;                            // pixels, of each half
static constexpr QRgb markColors[] = {0xffff00fe, 0xff01ff00}; // side by side

SideSurface::SideSurface(const SurfaceGlobals &globals, const WaylandOutput &output, QSize pixels)
    : m_surface(globals, output, OutputSurface::Below::seen)
    , m_monitor(pixels)
    , m_pointScale(output.pointScale())
    , m_isPlaced(m_surface.coversAll())
    , m_changed(QRect(QPoint(), pixels))
{
    m_surface.setKeyboard(false);
    setInput(globals, {});
}

QSize SideSurface::coveredPixels() const
{
    if (m_surface.coversAll())
        return m_monitor;
    const QSizeF size = QSizeF(m_surface.size()) * m_pointScale;
    return QSize(int(std::ceil(size.width())), int(std::ceil(size.height()))).boundedTo(m_monitor);
}

QPoint SideSurface::pixelAt(QPointF point) const
{
    const QSizeF size = m_surface.size(), pixels = coveredPixels();
    return m_origin + QPoint(int(std::floor(point.x() * pixels.width() / size.width())),
                             int(std::floor(point.y() * pixels.height() / size.height())));
}

void SideSurface::place(std::optional<QPoint> origin)
{
    const QSize left = m_monitor - coveredPixels(); // to bars, of which there is mostly one, at the top
    m_origin = origin.value_or(QPoint(left.width(), left.height()));
    m_isPlaced = true;
    change(QRect(QPoint(), m_monitor));
}

void SideSurface::setMark(bool isShown)
{
    m_isMarked = isShown;
    change(QRect(m_origin, QSize(2 * markSize, markSize)));
}

std::optional<QPoint> SideSurface::findMark(const QImage &monitor) const
{
    const QSize least = monitor.size() - coveredPixels();
    const auto isMark = [&](int x, int y) {
        for (int i = 0; i < 2 * markSize; ++i) {
            for (const int row : {y, y + markSize - 1}) {
                if (monitor.pixel(x + i, row) != markColors[i / markSize])
                    return false;
            }
        }
        return true;
    };
    for (int y = 0; y <= least.height() && y + markSize <= monitor.height(); ++y) {
        for (int x = 0; x <= least.width() && x + 2 * markSize <= monitor.width(); ++x) {
            if (isMark(x, y))
                return QPoint(x, y);
        }
    }
    return {};
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
    const QSizeF pixels = coveredPixels();
    const double perX = m_surface.size().width() / pixels.width();
    const double perY = m_surface.size().height() / pixels.height();
    const QRegion own = isConfigured() ? area.translated(-m_origin) : QRegion(); // without a size it has no pixels
    for (const QRect &part : own) {
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
    const QRegion seen = area & QRect(QPoint(), m_monitor);
    m_changed += seen;
    for (QRegion &missing : m_missing)
        missing += seen;
}

void SideSurface::present()
{
    if (m_changed.isEmpty() || m_surface.awaitsFrame() || !m_surface.isConfigured())
        return;
    if (const QSize pixels = coveredPixels(); pixels != m_pixels) {
        m_pixels = pixels;
        m_surface.setPixels(pixels);
        m_missing.clear();
        m_changed = covered();
    }
    ShmBuffer *buffer = m_surface.idleBuffer(OutputSurface::Alpha::clear);
    if (!buffer)
        return;
    // A new one is clear all over.
    QRegion missing = m_missing.contains(buffer) ? m_missing[buffer] : QRegion(QRect(m_pictureAt, m_picture.size()));
    if (!m_missing.contains(buffer)) {
        for (const Fill &fill : std::as_const(m_fills))
            missing += fill.area;
        missing += QRect(m_origin, QSize(2 * markSize, markSize));
    }
    QImage target(reinterpret_cast<uchar *>(buffer->pixels()), m_pixels.width(), m_pixels.height(),
                  buffer->bytesPerLine(), QImage::Format_ARGB32_Premultiplied);
    for (const QRect &part : missing &covered())
        paint(target, part);
    m_missing[buffer] = QRegion();
    const QRegion damage = (m_changed & covered()).translated(-m_origin);
    m_surface.show(*buffer, {damage.begin(), size_t(damage.rectCount())});
    m_changed = QRegion();
    m_isShown = true;
}

void SideSurface::paint(QImage &target, const QRect &part) const
{
    QPainter painter(&target);
    painter.translate(-m_origin);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(part, Qt::transparent);
    for (const Fill &fill : m_fills) {
        for (const QRect &area : fill.area &part)
            painter.fillRect(area, QColor::fromRgba(fill.color));
    }
    const QRect common = part & QRect(m_pictureAt, m_picture.size());
    if (!common.isEmpty())
        painter.drawImage(common.topLeft(), m_picture, common.translated(-m_pictureAt));
    for (int i = 0; m_isMarked && i < 2; ++i) {
        const QRect half(m_origin + QPoint(i * markSize, 0), QSize(markSize, markSize));
        painter.fillRect(half & part, QColor::fromRgba(markColors[i]));
    }
}

} // namespace qm
