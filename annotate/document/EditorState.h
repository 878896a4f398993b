#pragma once

#include "annotate/document/Annotation.h"
#include "annotate/document/CanvasZoom.h"
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
    Annotation::Plate plate = Annotation::Plate::none;
    double zoom = 1;
    QList<AnnotationDoc> undoStack, redoStack; // whole documents, newest last; unchanged data is shared
    std::optional<int> selectedIndex;
    QString statusText;
    bool statusIsFailure = false;

    void open(const AnnotationDoc &opened); // nothing to undo, nothing to lose

    const Annotation *selectedItem() const; // null if the selection names no item
    ItemStyle style() const { return {color, lineWidth, blurShape, plate}; }
    // What the tool bar shows: the selected item's, or those of new items.
    QColor shownColor() const { return selectedItem() ? selectedItem()->color : color; }
    double shownLineWidth() const { return selectedItem() ? selectedItem()->lineWidth : lineWidth; }

    Annotation::Plate shownPlate() const { return selectsText() ? selectedItem()->plate : plate; }
    bool selectsText() const { return selectedItem() && selectedItem()->kind == Annotation::Kind::text; }

    void setTool(AnnotationTool next); // a tool that draws drops the selection, which it would not show

    // Call before each change of the document; the exceptions below say so.
    void pushUndo();
    void dropEmptyStep(); // takes the last pushUndo() back, with what could be redone, if nothing has changed since
    bool canUndo() const { return !undoStack.isEmpty(); }
    bool canRedo() const { return !redoStack.isEmpty(); }
    void undo();
    void redo();

    void deleteSelected();
    // On top, a little aside of what lies there already and within the picture; the last of them is selected.
    void paste(QList<Annotation> items);
    void selectNeighbour(int by); // 1: the next one above, -1: below; round and round
    // Consecutive nudges of the selected item share one undo entry as long as each follows within a second. now may
    // come from any clock.
    void nudgeSelected(QPointF by, std::chrono::milliseconds now);
    // Apply to new items and to the selected one; no undo entry, or dragging a slider would flood the list.
    void setColor(const QColor &color);
    void setLineWidth(double width);
    void setPlate(Annotation::Plate next); // the same, but with an undo entry

    // At most most, which depends on the picture.
    void zoomIn(double most);
    void zoomOut(double most);
    void resetZoom() { zoom = 1; }
    QString zoomLabel() const; // "195%"

    // What a closing window would lose.
    bool hasUnkeptEdits() const { return !isUnedited() && !doc.hasSameEdits(kept); }
    bool hasUnsavedEdits() const { return !isUnedited() && !doc.hasSameEdits(saved); }
    void markSaved() { saved = kept = doc; }
    void markCopied() { kept = doc; }

    struct Nudge {
        std::optional<int> index;
        QList<Annotation> items; // as the nudge left them
        std::chrono::milliseconds when;
    };
    std::optional<Nudge> lastNudge;
    AnnotationDoc kept, saved;                      // as last saved or copied; as last saved
    std::optional<QList<AnnotationDoc>> redoBefore; // what the last pushUndo() dropped

private:
    bool isUnedited() const { return doc.items.isEmpty() && !doc.crop; }
};

} // namespace qm
