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
    enum class Kind : quint8 { line, arrow, rect, ellipse, text, blur, cover, number, highlighter, pen };
    enum class BlurShape : quint8 { rect, ellipse };
    enum class Plate : quint8 { none, light, dark };
    static constexpr Kind lastKind = Kind::pen;

    Kind kind = Kind::line;
    // line, arrow, highlighter: from the start point, its size signed (end minus start), never normalised.
    // rect, ellipse, blur, cover: the box; its size may be negative while it is being drawn.
    // number: the box of the circle. pen: the box of its course.
    // text: the box starts at the lower left of the line; its height is the font size, its width the measured text
    // width.
    QRectF rect;
    QColor color;
    double lineWidth = 0;        // points
    std::optional<QString> text; // of text items, and the number's digits
    BlurShape blurShape = BlurShape::rect;
    double rotation = 0;        // radians, counter-clockwise about the centre of rect; see rotates()
    Plate plate = Plate::none;  // behind a text
    QList<QPointF> points = {}; // a pen's course, as shares of rect's sides from its lower left

    bool operator==(const Annotation &other) const; // every field, to the last bit

    QPointF start() const { return {rect.x(), rect.y()}; }
    QPointF end() const { return {rect.x() + rect.width(), rect.y() + rect.height()}; }
    bool isLinear() const { return kind == Kind::line || kind == Kind::arrow || kind == Kind::highlighter; }
    bool canRotate() const { return !isLinear() && kind != Kind::number; } // rotation is ignored for the others
    bool rotates() const { return rotation != 0 && canRotate(); }
    double fontSize() const;         // points; text items only
    QList<QPointF> course() const;   // of a pen, in points
    double strokeWidth() const;      // points; of what is stroked
    void setLineWidth(double width); // a number's circle grows with it
};

// The document being edited: a picture that never changes, the part of it that is kept, and the items, topmost last. A
// value; copies share the pixels and the list.
struct AnnotationDoc {
    Image source;
    std::optional<QRectF> crop; // points; without it, the whole picture
    QList<Annotation> items;

    bool hasSameEdits(const AnnotationDoc &other) const; // the same items and crop
};

enum class AnnotationTool : quint8 {
    select,
    crop,
    text,
    line,
    arrow,
    rect,
    ellipse,
    blur,
    cover,
    number,
    highlighter,
    pen
};

inline constexpr std::array allAnnotationTools{
    AnnotationTool::select, AnnotationTool::crop,   AnnotationTool::text,        AnnotationTool::line,
    AnnotationTool::arrow,  AnnotationTool::rect,   AnnotationTool::ellipse,     AnnotationTool::blur,
    AnnotationTool::cover,  AnnotationTool::number, AnnotationTool::highlighter, AnnotationTool::pen,
};

inline constexpr QRgb annotationRed = 0xffff3b30; // for new items; the same on every system, as pictures travel

double defaultFontSize(double lineWidth); // points; for text that has no size of its own

} // namespace qm
