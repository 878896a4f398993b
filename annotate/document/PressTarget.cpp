#include "annotate/document/PressTarget.h"

#include "annotate/document/HitTest.h"

namespace qm {

PressTarget PressTarget::at(QPointF view, const QList<Annotation> &items, std::optional<int> selected,
                            const CanvasMapping &mapping, Wanted wanted)
{
    const bool named = selected && *selected >= 0 && *selected < items.size();
    if (named && HitTest::onRotationHandle(items[*selected], view, mapping))
        return {selected, DragMode::rotate, {}};

    const QPointF point = mapping.toImage(view);
    const double scale = mapping.scale();
    const std::optional<int> index = wanted == Wanted::below ? HitTest::itemBelow(items, selected, point, scale)
                                                             : HitTest::itemAt(items, point, scale);
    if (!index)
        return {};
    switch (HitTest::endPointAt(items[*index], point, scale)) {
    case HitTest::EndPoint::start: return {index, DragMode::start, {}};
    case HitTest::EndPoint::end: return {index, DragMode::end, {}};
    case HitTest::EndPoint::none: break;
    }
    if (const auto fixed = HitTest::fixedCornerFor(items[*index], point, scale))
        return {index, DragMode::resize, fixed};
    return {index, DragMode::whole, {}};
}

} // namespace qm
