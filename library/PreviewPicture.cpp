#include "library/PreviewPicture.h"

#include "library/LibraryLook.h"

#include <QPainter>

#include <cmath>

namespace qm {

PreviewPicture::PreviewPicture(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void PreviewPicture::setImage(const QImage &image)
{
    if (image.cacheKey() == m_image.cacheKey())
        return;
    m_image = image;
    m_scaled = {};
    m_scalingTo = {};
    m_scaling.drop();
    update();
}

QSize PreviewPicture::fittedPixels() const
{
    return m_image.size()
        .scaled((QSizeF(size()) * devicePixelRatioF()).toSize(), Qt::KeepAspectRatio)
        .expandedTo({1, 1});
}

bool PreviewPicture::isSharp() const
{
    return !m_image.isNull() && m_scaled.size() == fittedPixels();
}

void PreviewPicture::scale(QSize pixels)
{
    if (pixels == m_scalingTo)
        return;
    m_scalingTo = pixels;
    m_scaling.start(
        [image = m_image, pixels] { return image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation); },
        [this](const QImage &scaled) {
            m_scaled = scaled;
            update();
        });
}

void PreviewPicture::paintEvent(QPaintEvent *)
{
    if (m_image.isNull())
        return;
    const QSize pixels = fittedPixels();
    if (m_scaled.size() != pixels)
        scale(pixels);
    if (m_scaled.isNull())
        return; // scaling is still running
    const qreal ratio = devicePixelRatioF();
    const QSizeF room = size(), fitted = QSizeF(pixels) / ratio;
    const QRectF target(QPointF(std::floor((room.width() - fitted.width()) / 2 * ratio) / ratio,
                                std::floor((room.height() - fitted.height()) / 2 * ratio) / ratio),
                        fitted);
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, m_scaled.size() != pixels);
    painter.drawImage(target, m_scaled);
    painter.setPen(QPen(LibraryLook::hairline(palette().color(QPalette::WindowText)), 1 / ratio));
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal half = 0.5 / ratio;
    painter.drawRect(target.adjusted(half, half, -half, -half));
}

} // namespace qm
