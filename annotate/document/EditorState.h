#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/document/ItemFactory.h"

#include <chrono>

namespace qm {

// What an editor window holds, and everything that can happen to it. A value without widgets. Main thread, by its use.
// selectedIndex may name an item that an undo took away; every use checks it.
struct EditorState {
    AnnotationDoc doc;
    AnnotationTool tool = AnnotationTool::arrow;
    QColor color = QColor::fromRgb(annotationRed);
    double lineWidth = 7; // points
    Annotation::BlurShape blurShape = Annotation::BlurShape::rect;
    double zoom = 1;
    QList<AnnotationDoc> undoStack, redoStack; // whole documents, newest last; they share what did not change
    std::optional<int> selectedIndex;
    QString statusText;

    const Annotation *selectedItem() const; // null without a selection that names an item
    ItemStyle style() const { return {color, lineWidth, blurShape}; }

    // Called before each change of the document, except by those below that say otherwise.
    void pushUndo();
    bool canUndo() const { return !undoStack.isEmpty(); }
    bool canRedo() const { return !redoStack.isEmpty(); }
    void undo();
    void redo();

    void deleteSelected();
    // Steps of the selected item with nothing else between share an undo entry while each follows within a second.
    // now is on any clock.
    void nudgeSelected(QPointF by, std::chrono::milliseconds now);
    // For new items, and at once for the selected one: no undo entry, or a slider would fill the list.
    void setColor(const QColor &color);
    void setLineWidth(double width);

    void zoomIn();
    void zoomOut();
    void resetZoom() { zoom = 1; }
    QString zoomLabel() const; // "195%"

    struct Nudge {
        std::optional<int> index;
        QList<Annotation> items; // after it
        std::chrono::milliseconds when;
    };
    std::optional<Nudge> lastNudge;
};

} // namespace qm
