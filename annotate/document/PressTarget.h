#pragma once

#include "annotate/document/CanvasGeometry.h"

#include <optional>

namespace qm {

// What a press with the select tool takes hold of. Points are view points.
struct PressTarget {
    std::optional<int> index; // of the item; none: the press hits nothing
    DragMode mode = DragMode::none;
    std::optional<QPointF> fixedCorner; // image; while resizing

    static PressTarget at(QPointF view, const QList<Annotation> &items, std::optional<int> selected,
                          const CanvasMapping &mapping);
};

} // namespace qm
