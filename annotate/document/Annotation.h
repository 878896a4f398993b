#pragma once

#include "imaging/Image.h"

#include <QColor>
#include <QList>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <array>
#include <optional>

namespace qm {

// One item drawn over a picture. A value.
// Geometry is in points of the source picture, origin at its lower left, y up, whatever the crop.
struct Annotation {
    enum class Kind : quint8 { line, arrow, rect, ellipse, text, blur };
    enum class BlurShape : quint8 { rect, ellipse };
    static constexpr Kind lastKind = Kind::blur;

    Kind kind = Kind::line;
    // line, arrow: from the start point, its size signed (end minus start), never normalised.
    // rect, ellipse, blur: the box; its size may be negative while it is being drawn.
    // text: the box starts at the lower left of the line; its height is the font size, its width the measured text
    // width.
    QRectF rect;
    QColor color;
    double lineWidth = 0;        // points
    std::optional<QString> text; // text items only
    BlurShape blurShape = BlurShape::rect;
    double rotation = 0; // radians, counter-clockwise about the centre of rect; see rotates()

    bool operator==(const Annotation &other) const; // every field, to the last bit

    QPointF start() const { return {rect.x(), rect.y()}; }
    QPointF end() const { return {rect.x() + rect.width(), rect.y() + rect.height()}; }
    bool isLinear() const { return kind == Kind::line || kind == Kind::arrow; }
    bool rotates() const { return rotation != 0 && !isLinear(); } // rotation is ignored for lines and arrows
    double fontSize() const;                                      // points; text items only
};

// The document being edited: a picture that never changes, the part of it that is kept, and the items, topmost last. A
// value; copies share the pixels and the list.
struct AnnotationDoc {
    Image source;
    std::optional<QRectF> crop; // points; without it, the whole picture
    QList<Annotation> items;

    bool hasSameEdits(const AnnotationDoc &other) const; // the same items and crop
};

enum class AnnotationTool : quint8 { select, crop, text, line, arrow, rect, ellipse, blur };

inline constexpr std::array allAnnotationTools{
    AnnotationTool::select, AnnotationTool::crop, AnnotationTool::text,    AnnotationTool::line,
    AnnotationTool::arrow,  AnnotationTool::rect, AnnotationTool::ellipse, AnnotationTool::blur,
};

inline constexpr QRgb annotationRed = 0xffff3b30; // for new items; the same on every system, as pictures travel

double defaultFontSize(double lineWidth); // points; for text that has no size of its own

} // namespace qm
