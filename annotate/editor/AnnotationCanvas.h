#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/editor/Binding.h"

#include <functional>
#include <memory>
#include <optional>

class QWidget;

namespace qm {

class AnnotationCanvasView;

// Binds a canvas view to the editor's state; rebuilt from the state on every change. Main thread.
struct AnnotationCanvas {
    Binding<AnnotationDoc> doc;
    AnnotationTool tool = AnnotationTool::select;
    QColor color; // this and the next three apply to new items
    double lineWidth = 0;
    Annotation::BlurShape blurShape = Annotation::BlurShape::rect;
    Annotation::Plate plate = Annotation::Plate::none;
    Binding<double> zoom;
    Binding<std::optional<int>> selection;
    std::function<void()> onSnapshot; // called before the document changes
    std::function<void()> onRelease;  // called when a press has ended
    std::function<void()> onTyped;    // called when the text field has changed
    std::function<void()> onDelete;   // deletes the selected item

    struct Coordinator;

    // Called once. Creates the view; its callbacks go through the coordinator, which must outlive it.
    AnnotationCanvasView *make(Coordinator &coordinator, QWidget *parent) const;
    // Pushes the state to the view. Never call it from within one of the view's callbacks.
    void update(AnnotationCanvasView &view, Coordinator &coordinator) const;
};

// Holds the latest AnnotationCanvas, so that the view's callbacks reach the current bindings.
struct AnnotationCanvas::Coordinator {
    AnnotationCanvas parent;
};

} // namespace qm
