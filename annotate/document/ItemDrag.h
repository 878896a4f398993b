#pragma once

#include "annotate/document/PressTarget.h"

#include <optional>

namespace qm {

// An edit of an item by dragging, from the press on. A value; what it does to the item it only returns.
struct ItemDrag {
    int index = 0;
    DragMode mode = DragMode::none;
    QPointF moveStartImg;                     // where it began, image
    QRectF moveOriginalRect;                  // of the item then
    std::optional<QPointF> resizeFixedCorner; // image
    double rotateStartAngle = 0;              // of the pointer about the item's centre then, in the view
    double rotateOrigRotation = 0;            // of the item then

    static ItemDrag begun(const PressTarget &target, const Annotation &item, QPointF view,
                          const CanvasMapping &mapping); // target names the item
    // The item as it is with the pointer at a view point, and as it was.
    Annotation dragged(Annotation item, QPointF view, const CanvasMapping &mapping) const;
    Annotation restored(Annotation item) const;
};

} // namespace qm
