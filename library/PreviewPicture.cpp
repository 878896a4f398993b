#include "library/PreviewPicture.h"

#include "library/LibraryLook.h"

#include <QApplication>
#include <QClipboard>
#include <QMouseEvent>
#include <QPainter>

#include <cmath>

namespace qm {

PreviewPicture::PreviewPicture(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setFocusPolicy(Qt::ClickFocus);
    setMouseTracking(true);
}

void PreviewPicture::setText(const PictureText &text, QSize pictureSize)
{
    m_text = text;
    m_pictureSize = pictureSize;
    m_marks.clear();
    m_selection = {};
    m_anchor.reset();
    unsetCursor();
    update();
}

void PreviewPicture::setMarks(const QList<TextMatch::Range> &marks, qsizetype current)
{
    m_marks = marks;
    m_currentMark = current;
    update();
}

void PreviewPicture::select(const TextMatch::Range &range)
{
    m_selection = range;
    update();
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

QRectF PreviewPicture::target() const
{
    const qreal ratio = devicePixelRatioF();
    const QSizeF room = size(), fitted = QSizeF(fittedPixels()) / ratio;
    return QRectF(QPointF(std::floor((room.width() - fitted.width()) / 2 * ratio) / ratio,
                          std::floor((room.height() - fitted.height()) / 2 * ratio) / ratio),
                  fitted);
}

QRectF PreviewPicture::onWidget(const QRectF &box) const
{
    const QRectF target = this->target();
    const double x = target.width() / m_pictureSize.width(), y = target.height() / m_pictureSize.height();
    return QRectF(target.x() + box.x() * x, target.y() + box.y() * y, box.width() * x, box.height() * y);
}

QPointF PreviewPicture::onPicture(QPointF position) const
{
    const QRectF target = this->target();
    return QPointF((position.x() - target.x()) / target.width() * m_pictureSize.width(),
                   (position.y() - target.y()) / target.height() * m_pictureSize.height());
}

bool PreviewPicture::hasTextAt(QPointF position) const
{
    return !m_image.isNull() && m_text.hasTextAt(onPicture(position));
}

// The picture shows through: its colours are not known.
void PreviewPicture::paintMarks(QPainter &painter) const
{
    constexpr double margin = 1.5, corner = 2;
    const QColor amber(0xff, 0xb0, 0x00);
    painter.setRenderHint(QPainter::Antialiasing);
    for (qsizetype i = 0; i < m_marks.size(); ++i) {
        const bool current = i == m_currentMark;
        for (const QRectF &box : m_text.boxesOf(m_marks[i])) {
            const QRectF shown = onWidget(box).adjusted(-margin, -margin, margin, margin);
            if (!shown.intersects(rect()))
                continue;
            painter.setBrush(QColor(amber.red(), amber.green(), amber.blue(), current ? 0x60 : 0x38));
            painter.setPen(QPen(current ? QColor(0xd0, 0x5a, 0x00) : amber, current ? 2 : 1));
            painter.drawRoundedRect(shown, corner, corner);
        }
    }
    QColor selected = palette().color(QPalette::Active, QPalette::Highlight);
    selected.setAlpha(0x70);
    for (const QRectF &box : m_text.boxesOf(m_selection))
        painter.fillRect(onWidget(box), selected);
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
    const QRectF target = this->target();
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, m_scaled.size() != pixels);
    painter.drawImage(target, m_scaled);
    painter.setPen(QPen(LibraryLook::hairline(palette().color(QPalette::WindowText)), 1 / ratio));
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal half = 0.5 / ratio;
    painter.drawRect(target.adjusted(half, half, -half, -half));
    paintMarks(painter);
}

void PreviewPicture::selectByUser(qsizetype from, qsizetype to)
{
    select({std::min(from, to), std::abs(to - from)});
    if (onSelect)
        onSelect(m_selection);
}

// A third click follows a double click as closely as the second followed the first.
void PreviewPicture::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || m_image.isNull() || m_text.isEmpty())
        return QWidget::mousePressEvent(event);
    const QPointF point = onPicture(event->position());
    const bool third =
        m_lastDoubleClick && event->timestamp() - *m_lastDoubleClick < quint64(QApplication::doubleClickInterval());
    m_lastDoubleClick.reset();
    if (third && hasTextAt(event->position())) {
        const auto [start, length] = m_text.lineAt(point);
        return selectByUser(start, start + length);
    }
    m_anchor = m_text.positionAt(point);
    selectByUser(*m_anchor, *m_anchor);
}

void PreviewPicture::mouseMoveEvent(QMouseEvent *event)
{
    if (!(event->buttons() & Qt::LeftButton))
        m_anchor.reset();
    if (m_anchor)
        selectByUser(*m_anchor, m_text.positionAt(onPicture(event->position())));
    else if (hasTextAt(event->position()))
        setCursor(Qt::IBeamCursor);
    else
        unsetCursor();
}

void PreviewPicture::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_anchor.reset();
    if (event->button() != Qt::LeftButton || !hasTextAt(event->position()))
        return;
    m_lastDoubleClick = event->timestamp();
    const auto [start, length] = m_text.wordAt(onPicture(event->position()));
    selectByUser(start, start + length);
}

void PreviewPicture::keyPressEvent(QKeyEvent *event)
{
    if (event == QKeySequence::Copy && m_selection.length > 0)
        QApplication::clipboard()->setText(m_text.text().mid(m_selection.start, m_selection.length));
    else if (event == QKeySequence::SelectAll && !m_text.isEmpty())
        selectByUser(0, m_text.text().size());
    else
        event->ignore(); // leave it to the window
}

} // namespace qm
