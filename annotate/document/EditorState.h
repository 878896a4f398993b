#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/document/ItemFactory.h"

#include <chrono>

namespace qm {

// The state of an editor window and every operation on it. A plain value without widgets, used on the main thread.
// selectedIndex may be out of range after an undo; every use checks it.
struct EditorState {
    AnnotationDoc doc;
    AnnotationTool tool = AnnotationTool::arrow;
    QColor color = QColor::fromRgb(annotationRed);
    double lineWidth = 7; // points
    Annotation::BlurShape blurShape = Annotation::BlurShape::rect;
    double zoom = 1;
    QList<AnnotationDoc> undoStack, redoStack; // whole documents, newest last; unchanged data is shared
    std::optional<int> selectedIndex;
    QString statusText;

    const Annotation *selectedItem() const; // null if the selection names no item
    ItemStyle style() const { return {color, lineWidth, blurShape}; }

    // Call before each change of the document; the exceptions below say so.
    void pushUndo();
    bool canUndo() const { return !undoStack.isEmpty(); }
    bool canRedo() const { return !redoStack.isEmpty(); }
    void undo();
    void redo();

    void deleteSelected();
    // Consecutive nudges of the selected item share one undo entry as long as each follows within a second. now may
    // come from any clock.
    void nudgeSelected(QPointF by, std::chrono::milliseconds now);
    // Apply to new items and to the selected one; no undo entry, or dragging a slider would flood the list.
    void setColor(const QColor &color);
    void setLineWidth(double width);

    void zoomIn();
    void zoomOut();
    void resetZoom() { zoom = 1; }
    QString zoomLabel() const; // "195%"

    struct Nudge {
        std::optional<int> index;
        QList<Annotation> items; // as the nudge left them
        std::chrono::milliseconds when;
    };
    std::optional<Nudge> lastNudge;
};

} // namespace qm
