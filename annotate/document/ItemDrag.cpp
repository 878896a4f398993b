#include "annotate/document/ItemDrag.h"

#include "annotate/document/HitTest.h"

namespace qm {

PressTarget PressTarget::at(QPointF view, const QList<Annotation> &items, std::optional<int> selected,
                            const CanvasMapping &mapping)
{
    const bool named = selected && *selected >= 0 && *selected < items.size();
    if (named && HitTest::onRotationHandle(items[*selected], view, mapping))
        return {selected, DragMode::rotate, {}};

    const QPointF point = mapping.toImage(view);
    const double scale = mapping.scale();
    const std::optional<int> index = HitTest::itemAt(items, point, scale);
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

static double pointerAngle(const QRectF &box, QPointF view, const CanvasMapping &mapping)
{
    return angleAbout(mapping.toView(box.normalized().center()), view);
}

ItemDrag ItemDrag::begun(const PressTarget &target, const Annotation &item, QPointF view, const CanvasMapping &mapping)
{
    return {*target.index, target.mode,        mapping.toImage(view),
            item.rect,     target.fixedCorner, pointerAngle(item.rect, view, mapping),
            item.rotation};
}

Annotation ItemDrag::dragged(Annotation item, QPointF view, const CanvasMapping &mapping) const
{
    const QPointF to = mapping.toImage(view);
    switch (mode) {
    case DragMode::none: break;
    case DragMode::whole:
    case DragMode::start:
    case DragMode::end: item.rect = movedRect(moveOriginalRect, mode, moveStartImg, to); break;
    case DragMode::resize:
        if (item.kind == Annotation::Kind::text)
            item.rect = resizedText(item, moveOriginalRect, to);
        else if (resizeFixedCorner)
            item.rect = resizedRect(*resizeFixedCorner, to);
        break;
    case DragMode::rotate:
        item.rotation = rotateOrigRotation + pointerAngle(moveOriginalRect, view, mapping) - rotateStartAngle;
        break;
    }
    return item;
}

Annotation ItemDrag::restored(Annotation item) const
{
    item.rect = moveOriginalRect;
    item.rotation = rotateOrigRotation;
    return item;
}

} // namespace qm
