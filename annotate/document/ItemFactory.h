#pragma once

#include "annotate/document/Annotation.h"

namespace qm {

// Style of new items: the editor's current choices.
struct ItemStyle {
    QColor color = QColor::fromRgb(annotationRed);
    double lineWidth = 3; // points
    Annotation::BlurShape blurShape = Annotation::BlurShape::rect;
    Annotation::Plate plate = Annotation::Plate::none;
};

// New items. Points are in the document's coordinates.
namespace ItemFactory {

// The item that a drag with the tool draws. Its size is signed, not normalised. Tools that draw nothing yield a
// rectangle.
Annotation dragged(AnnotationTool tool, QPointF start, QPointF current, const ItemStyle &style);

// Text starting at origin; the line width determines the font size.
Annotation text(const QString &text, QPointF origin, const ItemStyle &style);

// A number around center. value begins with 1.
Annotation number(int value, QPointF center, const ItemStyle &style);
int countNumbers(const QList<Annotation> &items);
QList<Annotation> renumbered(QList<Annotation> items); // 1, 2, 3 ... in their order

// What a pen draws along a course.
Annotation pen(const QList<QPointF> &course, const ItemStyle &style);

// The text item with different text, at the same place and size.
Annotation withText(Annotation item, const QString &text);

} // namespace ItemFactory
} // namespace qm
