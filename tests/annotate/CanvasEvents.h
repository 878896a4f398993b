#pragma once

#include "annotate/editor/AnnotationCanvasView.h"

#include <QApplication>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QWheelEvent>

namespace qm {

// Input for a canvas as the system sends it. Points are view points, y up, with fractions.
class CanvasEvents
{
public:
    explicit CanvasEvents(AnnotationCanvasView &canvas)
        : m_canvas(canvas)
    {
    }

    Qt::KeyboardModifiers modifiers;
    Qt::MouseButton button = Qt::LeftButton;

    void press(QPointF at) { mouse(QEvent::MouseButtonPress, at, button, button); }
    void moveTo(QPointF at) { mouse(QEvent::MouseMove, at, Qt::NoButton, button); }
    void hover(QPointF at) { mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton); }
    void release(QPointF at) { mouse(QEvent::MouseButtonRelease, at, button, Qt::NoButton); }
    void click(QPointF at)
    {
        press(at);
        release(at);
    }
    void doubleClick(QPointF at)
    {
        click(at);
        mouse(QEvent::MouseButtonDblClick, at, button, button);
        release(at);
    }
    void drag(QPointF from, QPointF to)
    {
        press(from);
        moveTo((from + to) / 2);
        moveTo(to);
        release(to);
    }

    void wheel(QPointF at, QPoint pixels, QPoint angle)
    {
        const QPointF local = toWidget(at);
        QWheelEvent event(local, m_canvas.mapToGlobal(local), pixels, angle, Qt::NoButton, modifiers, Qt::NoScrollPhase,
                          false);
        QApplication::sendEvent(&m_canvas, &event);
    }

    void pinch(QPointF at, double value)
    {
        const QPointF local = toWidget(at);
        QNativeGestureEvent event(Qt::ZoomNativeGesture, QPointingDevice::primaryPointingDevice(), 2, local, local,
                                  m_canvas.mapToGlobal(local), value, {});
        QApplication::sendEvent(&m_canvas, &event);
    }

private:
    QPointF toWidget(QPointF view) const { return {view.x(), m_canvas.height() - view.y()}; }

    void mouse(QEvent::Type type, QPointF at, Qt::MouseButton which, Qt::MouseButtons held)
    {
        const QPointF local = toWidget(at);
        QMouseEvent event(type, local, m_canvas.mapToGlobal(local), which, held, modifiers);
        QApplication::sendEvent(&m_canvas, &event);
    }

    AnnotationCanvasView &m_canvas;
};

} // namespace qm
