// User input on the canvas.
#include "annotate/editor/AnnotationCanvasView.h"

#include "annotate/editor/TextEntry.h"
#include "ui/Symbol.h"

#include <QApplication>
#include <QMouseEvent>
#include <QNativeGestureEvent>

#include <cmath>

namespace qm {

static constexpr double leastDrag = 3;          // image points; anything shorter is not a drag
static constexpr double pointsPerLine = 16;     // wheel notches count lines
static constexpr double preciseZoomStep = 0.01; // per point of trackpad movement
static constexpr double notchZoomStep = 0.05;

static bool drawsBox(AnnotationTool tool)
{
    return tool == AnnotationTool::crop || tool == AnnotationTool::rect || tool == AnnotationTool::ellipse ||
           tool == AnnotationTool::blur || tool == AnnotationTool::cover;
}

// Corners to the lower left or upper right of the fixed one resize along the "/" diagonal.
static Qt::CursorShape resizeShape(const Annotation &item, QPointF fixedCorner)
{
    if (item.kind == Annotation::Kind::text)
        return Qt::SizeVerCursor; // its size follows the height alone
    const QPointF from = fixedCorner - item.rect.normalized().center();
    return from.x() * from.y() > 0 ? Qt::SizeBDiagCursor : Qt::SizeFDiagCursor;
}

static QCursor rotateCursor()
{
    constexpr int size = 24;
    static const QPixmap picture = Symbol::outlinedIcon(QStringLiteral("arrow.clockwise")).pixmap(size, size);
    return QCursor(picture, size / 2, size / 2);
}

Qt::CursorShape AnnotationCanvasView::cursorShape() const
{
    if (m_panFrom)
        return Qt::ClosedHandCursor;
    if (m_spaceHeld)
        return Qt::OpenHandCursor;
    if (tool == AnnotationTool::text)
        return Qt::IBeamCursor;
    if (tool != AnnotationTool::select)
        return Qt::CrossCursor;
    const PressTarget target = PressTarget::at(m_pointer, doc.items, selectedIndex, mapping());
    switch (target.mode) {
    case DragMode::none: break;
    case DragMode::whole: return Qt::SizeAllCursor;
    case DragMode::start:
    case DragMode::end: return Qt::PointingHandCursor;
    case DragMode::resize: return resizeShape(doc.items[*target.index], *target.fixedCorner);
    case DragMode::rotate: return Qt::BitmapCursor;
    }
    return Qt::ArrowCursor;
}

// During a drag the pointer keeps the shape it had at the press.
void AnnotationCanvasView::updateCursor()
{
    const Qt::CursorShape shape = cursorShape();
    if (!m_itemDrag && shape != cursor().shape())
        setCursor(shape == Qt::BitmapCursor ? rotateCursor() : QCursor(shape));
}

void AnnotationCanvasView::mousePressEvent(QMouseEvent *event)
{
    setFocus();
    const QPointF view = m_pointer = toView(event->position());
    const bool left = event->button() == Qt::LeftButton;
    if (isDragging() || (!left && event->button() != Qt::MiddleButton))
        return;
    if (!left || m_spaceHeld)
        m_panFrom = view;
    else
        beginDrag(view, event->modifiers());
    redisplay();
}

void AnnotationCanvasView::beginDrag(QPointF view, Qt::KeyboardModifiers modifiers)
{
    commitText(); // an open text takes its place before anything else happens
    const QPointF image = mapping().toImage(view);
    if (tool == AnnotationTool::text)
        return openText(image, std::nullopt);
    if (tool != AnnotationTool::select) {
        m_dragStart = {image, tool, {image}};
        m_draft = drawn(view, modifiers);
        return;
    }
    const auto wanted = modifiers.testFlag(Qt::AltModifier) ? PressTarget::Wanted::below : PressTarget::Wanted::topmost;
    const PressTarget target = PressTarget::at(view, doc.items, selectedIndex, mapping(), wanted);
    selectedIndex = target.index;
    if (target.index) {
        m_itemDrag = ItemDrag::begun(target, doc.items[*target.index], view, mapping());
        if (onSnapshot)
            onSnapshot();
    }
    if (target.mode != DragMode::rotate && onSelect)
        onSelect(selectedIndex);
}

QPointF AnnotationCanvasView::drawnTo(QPointF view, Qt::KeyboardModifiers modifiers) const
{
    const QPointF image = mapping().toImage(view);
    if (drawsBox(m_dragStart->tool))
        return modifiers.testFlag(Qt::ShiftModifier) ? squareFrom(m_dragStart->start, image) : image;
    return modifiers.testFlag(Qt::ControlModifier) ? levelFrom(m_dragStart->start, image) : image;
}

Annotation AnnotationCanvasView::drawn(QPointF view, Qt::KeyboardModifiers modifiers) const
{
    if (m_dragStart->tool == AnnotationTool::number)
        return ItemFactory::number(ItemFactory::countNumbers(doc.items) + 1, mapping().toImage(view), style());
    if (m_dragStart->tool == AnnotationTool::pen)
        return ItemFactory::pen(m_dragStart->course, style());
    Annotation item = ItemFactory::dragged(m_dragStart->tool, m_dragStart->start, drawnTo(view, modifiers), style());
    if (!item.isLinear())
        item.rect = item.rect.normalized();
    if (m_dragStart->tool == AnnotationTool::crop) // ends where the picture ends
        item.rect &= QRectF({0, 0}, doc.source.size);
    return item;
}

void AnnotationCanvasView::mouseMoveEvent(QMouseEvent *event)
{
    m_pointer = toView(event->position());
    if (isDragging())
        dragTo(m_pointer, event->modifiers());
    else
        updateCursor();
}

// A pen's points lie a little apart, or a trembling hand would show.
void AnnotationCanvasView::extendCourse(QPointF image)
{
    constexpr double apart = 2; // view points
    QList<QPointF> &course = m_dragStart->course;
    if (m_dragStart->tool == AnnotationTool::pen && QLineF(course.last(), image).length() >= apart * mapping().scale())
        course << image;
}

void AnnotationCanvasView::dragTo(QPointF view, Qt::KeyboardModifiers modifiers)
{
    if (m_panFrom) {
        m_zoom = m_zoom.panned(view - *m_panFrom, size(), shownRegion(doc));
        m_panFrom = view;
    } else if (m_dragStart) {
        extendCourse(mapping().toImage(view));
        m_draft = drawn(view, modifiers);
    } else if (m_itemDrag && names(m_itemDrag->index)) {
        replaceItem(m_itemDrag->index, m_itemDrag->dragged(doc.items[m_itemDrag->index], view, mapping(), modifiers));
    }
    redisplay();
}

void AnnotationCanvasView::replaceItem(int index, const Annotation &item)
{
    doc.items[index] = item;
    if (onReplaceItems)
        onReplaceItems(doc.items);
}

void AnnotationCanvasView::mouseReleaseEvent(QMouseEvent *event)
{
    m_pointer = toView(event->position());
    const bool panEnds = m_panFrom && !(event->buttons() & (Qt::LeftButton | Qt::MiddleButton));
    if (panEnds || (!m_panFrom && event->button() == Qt::LeftButton))
        finishDrag(m_pointer, event->modifiers());
}

void AnnotationCanvasView::finishDrag(QPointF view, Qt::KeyboardModifiers modifiers)
{
    if (m_dragStart) {
        const AnnotationTool with = m_dragStart->tool;
        extendCourse(mapping().toImage(view));
        const Annotation item = this->drawn(view, modifiers);
        endDrag();
        const bool meant = with == AnnotationTool::number || std::abs(item.rect.width()) >= leastDrag ||
                           std::abs(item.rect.height()) >= leastDrag;
        if (meant && with == AnnotationTool::crop && onCrop) {
            m_zoom = {}; // all of it
            onCrop(item.rect);
            if (onZoomChanged)
                onZoomChanged(zoom());
        }
        if (meant && with != AnnotationTool::crop && onCommit)
            onCommit(item);
    }
    endDrag();
    redisplay();
}

void AnnotationCanvasView::endDrag()
{
    const bool pressed = isDragging();
    m_dragStart.reset();
    m_draft.reset();
    m_itemDrag.reset();
    m_panFrom.reset();
    if (pressed && onRelease)
        onRelease();
}

bool AnnotationCanvasView::cancelDrag()
{
    if (!isDragging())
        return false;
    if (m_itemDrag && names(m_itemDrag->index))
        replaceItem(m_itemDrag->index, m_itemDrag->restored(doc.items[m_itemDrag->index]));
    endDrag();
    redisplay();
    return true;
}

void AnnotationCanvasView::mouseDoubleClickEvent(QMouseEvent *event)
{
    const std::optional<int> index = textAt(toView(event->position()));
    const bool edits = event->button() == Qt::LeftButton && tool == AnnotationTool::select && !m_spaceHeld && index;
    if (!edits || isDragging())
        return mousePressEvent(event);
    commitText();
    if (names(index))
        openText(doc.items[*index].start(), index);
}

void AnnotationCanvasView::wheelEvent(QWheelEvent *event)
{
    // On X11 pixelDelta comes in driver-specific units.
    const bool precise = !event->pixelDelta().isNull() && QGuiApplication::platformName() != QLatin1String("xcb");
    const QPointF notches = QPointF(event->angleDelta()) / QWheelEvent::DefaultDeltasPerStep;
    if (event->modifiers() & Qt::ControlModifier) {
        const double vertical = precise ? event->pixelDelta().y() : notches.y();
        zoomBy(toView(event->position()), 1 + vertical * (precise ? preciseZoomStep : notchZoomStep));
    } else {
        const QPointF by =
            precise ? QPointF(event->pixelDelta()) : notches * QApplication::wheelScrollLines() * pointsPerLine;
        m_zoom = m_zoom.panned({by.x(), -by.y()}, size(), shownRegion(doc));
        redisplay();
    }
    event->accept();
}

void AnnotationCanvasView::zoomBy(QPointF view, double factor)
{
    zoomAbout(view, zoom() * factor);
    if (onZoomChanged)
        onZoomChanged(zoom());
}

bool AnnotationCanvasView::event(QEvent *event)
{
    if (event->type() == QEvent::NativeGesture) {
        const auto *gesture = static_cast<QNativeGestureEvent *>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture) {
            zoomBy(toView(gesture->position()), 1 + gesture->value());
            return true;
        }
    }
    if (event->type() == QEvent::ScreenChangeInternal) // possibly to a screen with another scale
        redisplay();
    return QWidget::event(event);
}

void AnnotationCanvasView::keyPressEvent(QKeyEvent *event)
{
    const bool deletes = event->key() == Qt::Key_Backspace || event->key() == Qt::Key_Delete;
    if (deletes && selectedIndex) {
        endDrag(); // of an item that is about to be deleted
        if (onDelete)
            onDelete();
        return;
    }
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat()) {
        m_spaceHeld = true;
        updateCursor();
    }
    event->ignore();
}

void AnnotationCanvasView::keyReleaseEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat()) {
        m_spaceHeld = false;
        updateCursor();
    }
    event->ignore();
}

void AnnotationCanvasView::focusOutEvent(QFocusEvent *event)
{
    m_spaceHeld = false;
    QWidget::focusOutEvent(event);
}

} // namespace qm
