#pragma once

#include "annotate/document/Annotation.h"

#include <QPainterPath>

namespace qm {

// The outlines of what items draw, in points and before they are turned. Any thread.
namespace ItemShapes {

QList<QPainterPath> areasOf(const Annotation &item); // to be filled in order; none for text and blurs

} // namespace ItemShapes
} // namespace qm
