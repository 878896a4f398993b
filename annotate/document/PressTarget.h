#pragma once

#include "annotate/document/CanvasGeometry.h"

#include <optional>

namespace qm {

// What a press with the select tool grabs. Points are view points.
struct PressTarget {
    std::optional<int> index; // std::nullopt if the press hits no item
    DragMode mode = DragMode::none;
    std::optional<QPointF> fixedCorner; // image points; only while resizing

    enum class Wanted { topmost, below }; // below: what the selected item lies over

    static PressTarget at(QPointF view, const QList<Annotation> &items, std::optional<int> selected,
                          const CanvasMapping &mapping, Wanted wanted = Wanted::topmost);
};

} // namespace qm
