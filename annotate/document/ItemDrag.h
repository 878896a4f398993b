#pragma once

#include "annotate/document/PressTarget.h"

#include <optional>

namespace qm {

// Editing an item by dragging, from the press on. A value: it never modifies the item but returns the edited copy.
struct ItemDrag {
    int index = 0;
    DragMode mode = DragMode::none;
    QPointF moveStartImg;                     // image points
    QRectF moveOriginalRect;                  // at the start of the drag
    std::optional<QPointF> resizeFixedCorner; // image points
    double rotateStartAngle = 0;              // of the pointer about the item's centre at the start, in the view
    double rotateOrigRotation = 0;            // at the start of the drag

    static ItemDrag begun(const PressTarget &target, const Annotation &item, QPointF view,
                          const CanvasMapping &mapping); // target must name the item
    // The item with the pointer at a view point, and the item as it was before the drag. Shift turns in steps, Ctrl keeps
    // lines and arrows level, upright or diagonal.
    Annotation dragged(Annotation item, QPointF view, const CanvasMapping &mapping,
                       Qt::KeyboardModifiers modifiers) const;
    Annotation restored(Annotation item) const;
};

} // namespace qm
