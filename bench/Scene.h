#pragma once

#include "annotate/document/Annotation.h"

namespace qm::bench {

// As a screen full of windows is: plain areas, rules, and much small text. Pixels, at scale 1.
Image screen(QSize size);

// With 20 items on it, 3 of them blurred; for a screen of 5120 x 2880.
AnnotationDoc document(const Image &source);

} // namespace qm::bench
