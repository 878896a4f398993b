#include "annotate/document/Annotation.h"

#include <algorithm>

namespace qm {

static bool same(const QList<QPointF> &one, const QList<QPointF> &other)
{
    return one.isSharedWith(other) || std::equal(one.begin(), one.end(), other.begin(), other.end(),
                                                 [](QPointF a, QPointF b) { return a.x() == b.x() && a.y() == b.y(); });
}

bool Annotation::operator==(const Annotation &other) const
{
    // QRectF compares with a tolerance, so a cached picture could miss a small step.
    return kind == other.kind && rect.x() == other.rect.x() && rect.y() == other.rect.y() &&
           rect.width() == other.rect.width() && rect.height() == other.rect.height() && color == other.color &&
           lineWidth == other.lineWidth && text == other.text && blurShape == other.blurShape &&
           rotation == other.rotation && plate == other.plate && same(points, other.points);
}

bool AnnotationDoc::hasSameEdits(const AnnotationDoc &other) const
{
    return crop == other.crop && items == other.items;
}

double Annotation::fontSize() const
{
    return rect.height() > 1 ? rect.height() : defaultFontSize(lineWidth);
}

QList<QPointF> Annotation::course() const
{
    QList<QPointF> course;
    course.reserve(points.size());
    for (const QPointF &share : points)
        course << QPointF(rect.x() + share.x() * rect.width(), rect.y() + share.y() * rect.height());
    return course;
}

double Annotation::strokeWidth() const
{
    return kind == Kind::highlighter ? std::max(lineWidth * 3, 8.0) : lineWidth;
}

static double numberDiameter(double lineWidth)
{
    return lineWidth * 4 + 12;
}

void Annotation::setLineWidth(double width)
{
    lineWidth = width;
    if (kind != Kind::number)
        return;
    const QPointF center = rect.center();
    rect.setSize(QSizeF(numberDiameter(width), numberDiameter(width)));
    rect.moveCenter(center);
}

double defaultFontSize(double lineWidth)
{
    return std::max(lineWidth * 6, 14.0);
}

} // namespace qm
