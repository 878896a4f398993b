#pragma once

#include "annotate/render/ItemShapes.h"

namespace qm {

// What a highlighter leaves: translucent ink on light, a glow on dark, changing along the line with what the picture has
// under it. Items below it do not count, so that moving one never changes another. Any thread.
QList<ItemArea> highlighterInk(const Annotation &item, const Image &source);

} // namespace qm
