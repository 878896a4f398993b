#pragma once

#include "annotate/document/Annotation.h"

namespace qm {

// What new items look like: the editor's current choices.
struct ItemStyle {
    QColor color = QColor::fromRgb(annotationRed);
    double lineWidth = 3; // points
    Annotation::BlurShape blurShape = Annotation::BlurShape::rect;
};

// New items. Points are in the document's coordinates.
namespace ItemFactory {

// What a drag with the tool draws. The size is signed and not normalised. A tool that draws nothing gives a rectangle.
Annotation dragged(AnnotationTool tool, QPointF start, QPointF current, const ItemStyle &style);

// Text whose line begins at origin, at the size that goes with the line width.
Annotation text(const QString &text, QPointF origin, const ItemStyle &style);

// A text item that says something else, at the same place and size.
Annotation withText(Annotation item, const QString &text);

} // namespace ItemFactory
} // namespace qm
