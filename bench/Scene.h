#pragma once

#include "annotate/document/Annotation.h"

namespace qm::bench {

// Resembles a screen full of windows: plain areas, rules, and much small text. Size in pixels, at scale 1.
Image screen(QSize size);

// 20 items on the source, 3 of them blurred; laid out for a screen of 5120 x 2880.
AnnotationDoc document(const Image &source);

} // namespace qm::bench
