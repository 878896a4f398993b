#include "library/PreviewPicture.h"

#include "library/LibraryLook.h"

#include <QApplication>
#include <QClipboard>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QWheelEvent>

#include <cmath>

namespace qm {

static constexpr double keyStep = 1.25;
static constexpr double notch = 120;       // of a wheel, in the events' units
static constexpr double notchStep = 1.189; // four of them double the size
static constexpr double pixelsFrom = 2;    // from this scale on, single pixels are shown

PreviewPicture::PreviewPicture(QWidget *parent)
    : QAbstractScrollArea(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::ClickFocus);
    viewport()->setAutoFillBackground(false);
    viewport()->setMouseTracking(true);
    for (QScrollBar *bar : {horizontalScrollBar(), verticalScrollBar()})
        connect(bar, &QScrollBar::actionTriggered, this, [this] { m_staysAtMark = false; }); // by the user
    m_sharp.onChange = [this] {
        layOut();
        showMark();
    };
}

void PreviewPicture::setImage(const QImage &image, const QString &path)
{
    if (image.cacheKey() == m_sharp.image().cacheKey())
        return;
    const bool isOther = path != m_path || !hasImage();
    m_path = path;
    m_sharp.open(image, path);
    if (isOther && hasImage()) {
        m_zoom = PictureZoom::openingFor(image.size());
        m_staysAtMark = true;
        scrollTo({0, 0});
    }
    layOut();
    showMark();
}

void PreviewPicture::setText(const PictureText &text)
{
    m_text = text;
    m_marks.clear();
    m_currentMark = -1;
    m_selection = {};
    m_anchor.reset();
    showPointer();
    viewport()->update();
}

void PreviewPicture::setMarks(const QList<TextMatch::Range> &marks, qsizetype current)
{
    m_marks = marks;
    m_currentMark = current;
    showMark();
    viewport()->update();
}

void PreviewPicture::select(const TextMatch::Range &range)
{
    m_selection = range;
    viewport()->update();
}

QSize PreviewPicture::pictureSize() const
{
    const QSize size = m_sharp.pictureSize();
    return size.isEmpty() ? m_sharp.image().size() : size;
}

QSize PreviewPicture::roomFor(QSize points) const
{
    return (QSizeF(points) * devicePixelRatioF()).toSize().expandedTo({1, 1});
}

QSize PreviewPicture::shownPixels() const
{
    return m_zoom.shown(pictureSize(), m_room);
}

double PreviewPicture::scale() const
{
    return m_zoom.scale(pictureSize(), m_room);
}

bool PreviewPicture::isTall() const
{
    return hasImage() && PictureZoom::isTall(pictureSize());
}

double PreviewPicture::percentage() const
{
    return hasImage() && !m_sharp.pictureSize().isEmpty() ? scale() * 100 : 0;
}

// Of the scroll bars each takes room from the picture, which may make the other necessary.
void PreviewPicture::layOut()
{
    const QScopedValueRollback<bool> layingOut(m_isLayingOut, true);
    const QSize all = contentsRect().size();
    bool down = false, across = false;
    m_room = roomFor(all);
    for (int i = 0; i < 2 && hasImage() && m_zoom.mode() != PictureZoom::Mode::fit; ++i) {
        const QSize shown = shownPixels();
        down = down || shown.height() > m_room.height();
        across = across || shown.width() > m_room.width();
        m_room = roomFor(all - QSize(down ? verticalScrollBar()->sizeHint().width() : 0,
                                     across ? horizontalScrollBar()->sizeHint().height() : 0));
    }
    setVerticalScrollBarPolicy(down ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(across ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    const double ratio = devicePixelRatioF();
    const QSizeF beyond = hasImage() ? QSizeF(shownPixels() - m_room) / ratio : QSizeF();
    const QSizeF page = QSizeF(m_room) / ratio;
    for (const auto &[bar, range, step] : {std::tuple(horizontalScrollBar(), beyond.width(), page.width()),
                                           std::tuple(verticalScrollBar(), beyond.height(), page.height())}) {
        bar->setRange(0, std::max(0, int(std::ceil(range))));
        bar->setPageStep(int(step));
        bar->setSingleStep(24);
    }
    showPointer();
    viewport()->update();
    if (onZoom)
        onZoom();
}

void PreviewPicture::scrollTo(QPoint position)
{
    horizontalScrollBar()->setValue(position.x());
    verticalScrollBar()->setValue(position.y());
}

void PreviewPicture::scrollBy(QPointF by)
{
    scrollTo((QPointF(horizontalScrollBar()->value(), verticalScrollBar()->value()) + by).toPoint());
}

// The point of the picture there stays there.
void PreviewPicture::layOutAround(QPointF position, const PictureZoom &zoom)
{
    const QPointF point = hasImage() ? onPicture(position) : QPointF();
    m_zoom = zoom;
    layOut();
    if (!hasImage())
        return;
    scrollBy(onWidget(QRectF(point, QSizeF())).topLeft() - position);
    showMark();
}

void PreviewPicture::setZoom(const PictureZoom &zoom)
{
    layOutAround(QRectF(viewport()->rect()).center(), zoom);
}

void PreviewPicture::zoomBy(int steps)
{
    if (percentage() > 0)
        setZoom(m_zoom.zoomedBy(std::pow(keyStep, steps), pictureSize(), m_room));
}

void PreviewPicture::resetZoom()
{
    setZoom(PictureZoom::openingFor(pictureSize()));
}

void PreviewPicture::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    if (!m_isLayingOut) // scroll bars come and go
        layOutAround({viewport()->width() / 2.0, 0}, m_zoom);
}

void PreviewPicture::reveal()
{
    m_staysAtMark = true;
    showMark();
}

void PreviewPicture::showMark()
{
    if (!m_staysAtMark || m_currentMark < 0 || m_currentMark >= m_marks.size() || percentage() == 0)
        return;
    QRectF box;
    for (const QRectF &part : m_text.boxesOf(m_marks[m_currentMark]))
        box |= part;
    constexpr double margin = 24;
    const QRectF shown = onWidget(box), view = viewport()->rect();
    if (!box.isEmpty() && !view.contains(shown.adjusted(-margin, -margin, margin, margin)))
        scrollBy(shown.center() - view.center());
}

QRectF PreviewPicture::target() const
{
    const qreal ratio = devicePixelRatioF();
    const QSizeF shown = QSizeF(shownPixels()) / ratio, room = QSizeF(m_room) / ratio;
    const auto start = [ratio](double length, double all, const QScrollBar *bar) {
        return length <= all ? std::floor((all - length) / 2 * ratio) / ratio
                             : -std::round(bar->value() * ratio) / ratio;
    };
    return QRectF(QPointF(start(shown.width(), room.width(), horizontalScrollBar()),
                          start(shown.height(), room.height(), verticalScrollBar())),
                  shown);
}

QRectF PreviewPicture::onWidget(const QRectF &box) const
{
    const QRectF target = this->target();
    const double x = target.width() / pictureSize().width(), y = target.height() / pictureSize().height();
    return QRectF(target.x() + box.x() * x, target.y() + box.y() * y, box.width() * x, box.height() * y);
}

QPointF PreviewPicture::onPicture(QPointF position) const
{
    const QRectF target = this->target();
    return QPointF((position.x() - target.x()) / target.width() * pictureSize().width(),
                   (position.y() - target.y()) / target.height() * pictureSize().height());
}

bool PreviewPicture::hasTextAt(QPointF position) const
{
    return percentage() > 0 && m_text.hasTextAt(onPicture(position));
}

bool PreviewPicture::canPan() const
{
    return horizontalScrollBar()->maximum() > 0 || verticalScrollBar()->maximum() > 0;
}

bool PreviewPicture::isPaintedAsItIs() const
{
    return scale() >= 1 && m_sharp.image().size() == pictureSize();
}

QSize PreviewPicture::wholePixels() const
{
    return scale() >= 1 ? pictureSize() : shownPixels();
}

QRect PreviewPicture::seen(QSize whole) const
{
    const QRectF target = this->target(), seen = target & QRectF(viewport()->rect());
    const double x = whole.width() / target.width(), y = whole.height() / target.height();
    return QRectF((seen.x() - target.x()) * x, (seen.y() - target.y()) * y, seen.width() * x, seen.height() * y)
               .toAlignedRect() &
           QRect(QPoint(), whole);
}

bool PreviewPicture::isSharp() const
{
    return isExact() && !m_sharp.isLookingForSize();
}

bool PreviewPicture::isExact() const
{
    return hasImage() && (isPaintedAsItIs() || m_sharp.part().covers(wholePixels(), seen(wholePixels())));
}

// The picture shows through: its colours are not known.
void PreviewPicture::paintMarks(QPainter &painter) const
{
    if (percentage() == 0)
        return;
    constexpr double margin = 1.5, corner = 2;
    const QColor amber(0xff, 0xb0, 0x00);
    painter.setRenderHint(QPainter::Antialiasing);
    for (qsizetype i = 0; i < m_marks.size(); ++i) {
        const bool current = i == m_currentMark;
        for (const QRectF &box : m_text.boxesOf(m_marks[i])) {
            const QRectF shown = onWidget(box).adjusted(-margin, -margin, margin, margin);
            if (!shown.intersects(viewport()->rect()))
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

void PreviewPicture::paintPart(QPainter &painter, const SharpPart::Part &part) const
{
    const QRectF target = this->target();
    const double x = target.width() / part.whole.width(), y = target.height() / part.whole.height();
    painter.drawImage(QRectF(target.x() + part.rect.x() * x, target.y() + part.rect.y() * y, part.rect.width() * x,
                             part.rect.height() * y),
                      part.image);
}

// What was made for another size or place is better than nothing.
void PreviewPicture::paintMeanwhile(QPainter &painter) const
{
    const QImage &image = m_sharp.image();
    const SharpPart::Part &part = m_sharp.part();
    const bool isFine = part.whole.width() > std::min(image.width(), wholePixels().width() * 7 / 10);
    if (!isFine || !part.rect.contains(seen(part.whole)))
        paintPart(painter, {image, image.size(), image.rect()});
    if (isFine)
        paintPart(painter, part);
}

void PreviewPicture::paintEvent(QPaintEvent *)
{
    if (!hasImage())
        return;
    const QImage &image = m_sharp.image();
    const QSize whole = wholePixels();
    if (const QRect seen = this->seen(whole); !isPaintedAsItIs() && !seen.isEmpty())
        m_sharp.ask(whole, seen);
    if (!isExact() && m_sharp.isMaking() && m_sharp.part().image.isNull() && image.width() >= whole.width())
        return; // made from the image, it is about to be there
    QPainter painter(viewport());
    const bool showsPixels = m_zoom.mode() == PictureZoom::Mode::fixed && scale() >= pixelsFrom;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !showsPixels && (!isExact() || shownPixels() != whole));
    if (isPaintedAsItIs())
        paintPart(painter, {image, image.size(), image.rect()});
    else if (isExact())
        paintPart(painter, m_sharp.part());
    else
        paintMeanwhile(painter);
    const qreal ratio = devicePixelRatioF(), half = 0.5 / ratio;
    painter.setPen(QPen(LibraryLook::hairline(palette().color(QPalette::WindowText)), 1 / ratio));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawRect(target().adjusted(half, half, -half, -half));
    paintMarks(painter);
}

void PreviewPicture::selectByUser(qsizetype from, qsizetype to)
{
    select({std::min(from, to), std::abs(to - from)});
    if (onSelect)
        onSelect(m_selection);
}

void PreviewPicture::showPointer()
{
    const bool onText = hasTextAt(m_pointer);
    if (m_pan)
        viewport()->setCursor(Qt::ClosedHandCursor);
    else if (m_anchor || (onText && !(m_isSpaceDown && canPan())))
        viewport()->setCursor(Qt::IBeamCursor);
    else if (canPan())
        viewport()->setCursor(Qt::OpenHandCursor);
    else
        viewport()->unsetCursor();
}

// A third click follows a double click as closely as the second followed the first.
void PreviewPicture::mousePressEvent(QMouseEvent *event)
{
    const bool left = event->button() == Qt::LeftButton;
    m_pointer = event->position();
    m_hasMoved = false;
    if (canPan() && (event->button() == Qt::MiddleButton || (left && (m_isSpaceDown || !hasTextAt(m_pointer))))) {
        m_pan = {event->globalPosition(), {horizontalScrollBar()->value(), verticalScrollBar()->value()}};
        return showPointer();
    }
    if (!left || percentage() == 0 || m_text.isEmpty())
        return QAbstractScrollArea::mousePressEvent(event);
    const QPointF point = onPicture(m_pointer);
    const bool third =
        m_lastDoubleClick && event->timestamp() - *m_lastDoubleClick < quint64(QApplication::doubleClickInterval());
    m_lastDoubleClick.reset();
    if (third && hasTextAt(m_pointer)) {
        const auto [start, length] = m_text.lineAt(point);
        return selectByUser(start, start + length);
    }
    m_anchor = m_text.positionAt(point);
    selectByUser(*m_anchor, *m_anchor);
}

void PreviewPicture::mouseMoveEvent(QMouseEvent *event)
{
    m_pointer = event->position();
    if (!(event->buttons() & Qt::LeftButton))
        m_anchor.reset();
    if (!(event->buttons() & (Qt::LeftButton | Qt::MiddleButton)))
        m_pan.reset();
    if (m_pan) {
        const QPoint by = (event->globalPosition() - m_pan->from).toPoint();
        m_hasMoved = m_hasMoved || by.manhattanLength() >= QApplication::startDragDistance();
        scrollTo(m_pan->scrolled - by);
        m_staysAtMark = false;
    } else if (m_anchor) {
        const QRectF inside = viewport()->rect();
        const QPointF nearest(std::clamp(m_pointer.x(), inside.left(), inside.right()),
                              std::clamp(m_pointer.y(), inside.top(), inside.bottom()));
        if (m_pointer != nearest) { // beyond the edge, what is there comes into view
            m_staysAtMark = false;
            scrollBy(m_pointer - nearest);
        }
        selectByUser(*m_anchor, m_text.positionAt(onPicture(nearest)));
    }
    showPointer();
}

void PreviewPicture::mouseReleaseEvent(QMouseEvent *event)
{
    if (m_pan && !m_hasMoved && event->button() == Qt::LeftButton && !m_text.isEmpty())
        selectByUser(0, 0); // a click beside the text
    m_pan.reset();
    m_anchor.reset();
    showPointer();
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

void PreviewPicture::zoomAbout(QPointF position, double factor)
{
    if (percentage() == 0)
        return;
    m_staysAtMark = false;
    layOutAround(position, m_zoom.zoomedBy(factor, pictureSize(), m_room));
}

void PreviewPicture::wheelEvent(QWheelEvent *event)
{
    if (event->modifiers() & Qt::ControlModifier)
        zoomAbout(event->position(), std::pow(notchStep, event->angleDelta().y() / notch));
    else
        QAbstractScrollArea::wheelEvent(event);
}

bool PreviewPicture::viewportEvent(QEvent *event)
{
    if (event->type() != QEvent::NativeGesture)
        return QAbstractScrollArea::viewportEvent(event);
    const auto *gesture = static_cast<QNativeGestureEvent *>(event);
    if (gesture->gestureType() == Qt::ZoomNativeGesture)
        zoomAbout(gesture->position(), 1 + gesture->value());
    return true;
}

void PreviewPicture::keyPressEvent(QKeyEvent *event)
{
    if (event == QKeySequence::Copy && m_selection.length > 0)
        QApplication::clipboard()->setText(m_text.text().mid(m_selection.start, m_selection.length));
    else if (event == QKeySequence::SelectAll && !m_text.isEmpty())
        selectByUser(0, m_text.text().size());
    else if (event->text() == u"+" || event->text() == u"-")
        zoomBy(event->text() == u"+" ? 1 : -1);
    else if (event->text() == u"0")
        resetZoom();
    else if (event->key() == Qt::Key_Space && canPan())
        m_isSpaceDown = true;
    else if (event->key() == Qt::Key_Home || event->key() == Qt::Key_End)
        verticalScrollBar()->triggerAction(event->key() == Qt::Key_Home ? QScrollBar::SliderToMinimum
                                                                        : QScrollBar::SliderToMaximum);
    else
        QAbstractScrollArea::keyPressEvent(event); // scrolls; ignored keys are left to the window
    showPointer();
}

void PreviewPicture::keyReleaseEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat())
        m_isSpaceDown = false;
    QAbstractScrollArea::keyReleaseEvent(event);
    showPointer();
}

void PreviewPicture::focusOutEvent(QFocusEvent *event)
{
    m_isSpaceDown = false;
    QAbstractScrollArea::focusOutEvent(event);
    showPointer();
}

} // namespace qm
