#include "annotate/document/ItemDrag.h"

namespace qm {

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
