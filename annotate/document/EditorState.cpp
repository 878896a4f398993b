#include "annotate/document/EditorState.h"

#include "annotate/document/CanvasGeometry.h"
#include "annotate/document/CanvasZoom.h"

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

void EditorState::pushUndo()
{
    undoStack.append(doc);
    redoStack.clear();
}

void EditorState::undo()
{
    if (!canUndo())
        return;
    redoStack.append(doc);
    doc = undoStack.takeLast();
}

void EditorState::redo()
{
    if (!canRedo())
        return;
    undoStack.append(doc);
    doc = redoStack.takeLast();
}

void EditorState::deleteSelected()
{
    if (!selectedItem())
        return;
    pushUndo();
    doc.items.removeAt(*selectedIndex);
    selectedIndex.reset();
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
        doc.items[*selectedIndex].lineWidth = width;
}

void EditorState::zoomIn()
{
    zoom = std::clamp(zoom * zoomStep, CanvasZoom::least, CanvasZoom::most);
}

void EditorState::zoomOut()
{
    zoom = std::clamp(zoom / zoomStep, CanvasZoom::least, CanvasZoom::most);
}

QString EditorState::zoomLabel() const
{
    return QStringLiteral("%1%").arg(std::lround(zoom * 100));
}

} // namespace qm
