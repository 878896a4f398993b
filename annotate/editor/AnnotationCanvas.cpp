#include "annotate/editor/AnnotationCanvas.h"

#include "annotate/editor/AnnotationCanvasView.h"

#include <cmath>

namespace qm {

AnnotationCanvasView *AnnotationCanvas::make(Coordinator &coordinator, QWidget *parent) const
{
    coordinator.parent = *this;
    const AnnotationCanvas &latest = coordinator.parent;
    auto *view = new AnnotationCanvasView(parent);
    view->onCommit = [&latest](const Annotation &item) {
        latest.onSnapshot();
        AnnotationDoc next = latest.doc.get();
        next.items.append(item);
        latest.doc.set(next);
    };
    view->onCrop = [&latest](const QRectF &rect) {
        latest.onSnapshot();
        AnnotationDoc next = latest.doc.get();
        next.crop = rect;
        latest.doc.set(next);
    };
    view->onReplaceItems = [&latest](const QList<Annotation> &items) {
        AnnotationDoc next = latest.doc.get();
        next.items = items;
        latest.doc.set(next);
    };
    view->onSnapshot = [&latest] { latest.onSnapshot(); };
    view->onRelease = [&latest] { latest.onRelease(); };
    view->onTyped = [&latest] { latest.onTyped(); };
    view->onZoomChanged = [&latest](double magnification) { latest.zoom.set(magnification); };
    view->onSelect = [&latest](std::optional<int> index) { latest.selection.set(index); };
    view->onDelete = [&latest] { latest.onDelete(); };
    return view;
}

void AnnotationCanvas::update(AnnotationCanvasView &view, Coordinator &coordinator) const
{
    coordinator.parent = *this;
    view.doc = doc.get();
    view.tool = tool;
    view.strokeColor = color;
    view.strokeWidth = lineWidth;
    view.blurShape = blurShape;
    view.plate = plate;
    if (const std::optional<int> selected = selection.get(); selected != view.selectedIndex)
        view.selectedIndex = selected;
    constexpr double noticeable = 0.0001;
    if (const double wanted = zoom.get(); std::abs(view.zoom() - wanted) > noticeable)
        view.zoomAbout(QPointF(view.width(), view.height()) / 2, wanted);
    view.redisplay();
}

} // namespace qm
