#include "annotate/document/EditorState.h"

#include "annotate/document/CanvasGeometry.h"

#include <algorithm>
#include <cmath>

namespace qm {

static constexpr double zoomStep = 1.25;

static bool names(const std::optional<int> &index, const QList<Annotation> &items)
{
    return index && *index >= 0 && *index < items.size();
}

const Annotation *EditorState::selectedItem() const
{
    return names(selectedIndex, doc.items) ? &doc.items[*selectedIndex] : nullptr;
}

void EditorState::open(const AnnotationDoc &opened)
{
    doc = kept = saved = opened;
}

void EditorState::setTool(AnnotationTool next)
{
    tool = next;
    if (tool != AnnotationTool::select)
        selectedIndex.reset();
}

void EditorState::pushUndo()
{
    redoBefore = redoStack;
    undoStack.append(doc);
    redoStack.clear();
}

void EditorState::dropEmptyStep()
{
    if (redoBefore && canUndo() && undoStack.last().hasSameEdits(doc)) {
        undoStack.removeLast();
        redoStack = *redoBefore;
    }
    redoBefore.reset();
}

void EditorState::undo()
{
    if (!canUndo())
        return;
    redoBefore.reset();
    redoStack.append(doc);
    doc = undoStack.takeLast();
}

void EditorState::redo()
{
    if (!canRedo())
        return;
    redoBefore.reset();
    undoStack.append(doc);
    doc = redoStack.takeLast();
}

void EditorState::deleteSelected()
{
    if (!selectedItem())
        return;
    pushUndo();
    doc.items.removeAt(*selectedIndex);
    doc.items = ItemFactory::renumbered(doc.items);
    selectedIndex.reset();
}

void EditorState::paste(QList<Annotation> items)
{
    constexpr QPointF aside(12, -12); // points
    if (items.isEmpty())
        return;
    const QRectF room = doc.crop.value_or(QRectF({0, 0}, doc.source.size));
    const auto lies = [&](const Annotation &item) {
        return std::any_of(doc.items.begin(), doc.items.end(), [&](const Annotation &other) { return other == item; });
    };
    for (Annotation &item : items) {
        while (lies(item))
            item.rect.translate(aside);
        if (!room.contains(item.rect.center())) // from a larger picture
            item.rect.moveCenter(room.center());
    }
    pushUndo();
    doc.items = ItemFactory::renumbered(doc.items + items);
    tool = AnnotationTool::select;
    selectedIndex = int(doc.items.size()) - 1;
}

void EditorState::selectNeighbour(int by)
{
    const int count = int(doc.items.size());
    if (count == 0)
        return;
    const int from = selectedItem() ? *selectedIndex : by > 0 ? -1 : count;
    tool = AnnotationTool::select;
    selectedIndex = (from + by + count) % count;
}

void EditorState::nudgeSelected(QPointF by, std::chrono::milliseconds now)
{
    using namespace std::chrono_literals;
    if (!selectedItem())
        return;
    const bool goesOn = lastNudge && lastNudge->index == selectedIndex && lastNudge->items == doc.items &&
                        now - lastNudge->when < 1s && canUndo() && !canRedo();
    if (!goesOn)
        pushUndo();
    doc.items[*selectedIndex].rect.translate(by);
    lastNudge = {selectedIndex, doc.items, now};
}

void EditorState::setColor(const QColor &next)
{
    color = next;
    if (selectedItem())
        doc.items[*selectedIndex].color = next;
}

void EditorState::setLineWidth(double width)
{
    lineWidth = width;
    if (selectedItem())
        doc.items[*selectedIndex].setLineWidth(width);
}

void EditorState::setPlate(Annotation::Plate next)
{
    plate = next;
    if (!selectsText())
        return;
    pushUndo();
    doc.items[*selectedIndex].plate = next;
}

void EditorState::zoomIn(double most)
{
    zoom = std::clamp(zoom * zoomStep, CanvasZoom::least, most);
}

void EditorState::zoomOut(double most)
{
    zoom = std::clamp(zoom / zoomStep, CanvasZoom::least, most);
}

QString EditorState::zoomLabel() const
{
    return QStringLiteral("%1%").arg(std::lround(zoom * 100));
}

} // namespace qm
