#pragma once

#include "annotate/document/Annotation.h"

#include <QPainterPath>

namespace qm {

// Part of what an item draws: filled with one colour.
struct ItemArea {
    enum class Blend : quint8 { over, multiply, screen };

    QPainterPath path;
    QColor color; // sRGB
    Blend blend = Blend::over;
};

// The outlines of what items draw, in points and before they are turned. Main thread, for the digits of numbers.
namespace ItemShapes {

// To be filled in order. For text only its plate, for blurs nothing. A highlighter depends on what the picture has under it.
QList<ItemArea> areasOf(const Annotation &item, const Image &source);

} // namespace ItemShapes
} // namespace qm
