#include "annotate/document/Annotation.h"

#include <algorithm>

namespace qm {

bool Annotation::operator==(const Annotation &other) const
{
    // QRectF compares with a tolerance, so a cached picture could miss a small step.
    return kind == other.kind && rect.x() == other.rect.x() && rect.y() == other.rect.y() &&
           rect.width() == other.rect.width() && rect.height() == other.rect.height() && color == other.color &&
           lineWidth == other.lineWidth && text == other.text && blurShape == other.blurShape &&
           rotation == other.rotation;
}

bool AnnotationDoc::hasSameEdits(const AnnotationDoc &other) const
{
    return crop == other.crop && items == other.items;
}

double Annotation::fontSize() const
{
    return rect.height() > 1 ? rect.height() : defaultFontSize(lineWidth);
}

double defaultFontSize(double lineWidth)
{
    return std::max(lineWidth * 6, 14.0);
}

} // namespace qm
