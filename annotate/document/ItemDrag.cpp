#include "annotate/document/ItemDrag.h"

namespace qm {

static double pointerAngle(const QRectF &box, QPointF view, const CanvasMapping &mapping)
{
    return angleAbout(mapping.toView(box.normalized().center()), view);
}

// A line or arrow with the dragged end put so that it is level, upright or diagonal.
static QRectF leveled(const Annotation &item, DragMode dragged)
{
    const QPointF start = dragged == DragMode::start ? levelFrom(item.end(), item.start()) : item.start();
    const QPointF end = dragged == DragMode::end ? levelFrom(item.start(), item.end()) : item.end();
    return {start, QSizeF(end.x() - start.x(), end.y() - start.y())};
}

ItemDrag ItemDrag::begun(const PressTarget &target, const Annotation &item, QPointF view, const CanvasMapping &mapping)
{
    return {*target.index, target.mode,        mapping.toImage(view),
            item.rect,     target.fixedCorner, pointerAngle(item.rect, view, mapping),
            item.rotation};
}

Annotation ItemDrag::dragged(Annotation item, QPointF view, const CanvasMapping &mapping,
                             Qt::KeyboardModifiers modifiers) const
{
    const QPointF to = mapping.toImage(view);
    const bool level = modifiers.testFlag(Qt::ControlModifier);
    switch (mode) {
    case DragMode::none: break;
    case DragMode::whole: item.rect = movedRect(moveOriginalRect, mode, moveStartImg, to); break;
    case DragMode::start:
    case DragMode::end:
        item.rect = movedRect(moveOriginalRect, mode, moveStartImg, to);
        if (level)
            item.rect = leveled(item, mode);
        break;
    case DragMode::resize:
        if (item.kind == Annotation::Kind::text)
            item.rect = resizedText(item, moveOriginalRect, to);
        else if (resizeFixedCorner)
            item.rect = resizedRect(*resizeFixedCorner,
                                    item.kind == Annotation::Kind::number ? squareFrom(*resizeFixedCorner, to) : to);
        break;
    case DragMode::rotate:
        item.rotation =
            settledAngle(rotateOrigRotation + pointerAngle(moveOriginalRect, view, mapping) - rotateStartAngle,
                         modifiers.testFlag(Qt::ShiftModifier));
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
