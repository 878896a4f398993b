#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/editor/Binding.h"

#include <functional>
#include <memory>
#include <optional>

class QWidget;

namespace qm {

class AnnotationCanvasView;

// Joins a canvas view with the editor's state: a value made anew from the state at each change of it. Main thread.
struct AnnotationCanvas {
    Binding<AnnotationDoc> doc;
    AnnotationTool tool = AnnotationTool::select;
    QColor color; // these three are for new items
    double lineWidth = 0;
    Annotation::BlurShape blurShape = Annotation::BlurShape::rect;
    Binding<double> zoom;
    Binding<std::optional<int>> selection;
    std::function<void()> onSnapshot; // before a change of the document
    std::function<void()> onDelete;   // of the selected item

    struct Coordinator;

    // Once: the view, whose callbacks go through the coordinator, which must outlive it.
    AnnotationCanvasView *make(Coordinator &coordinator, QWidget *parent) const;
    // From then on, never from within one of the view's callbacks: state to view.
    void update(AnnotationCanvasView &view, Coordinator &coordinator) const;
};

// Keeps the latest of them, so that the view's callbacks reach the latest bindings.
struct AnnotationCanvas::Coordinator {
    AnnotationCanvas parent;
};

} // namespace qm
