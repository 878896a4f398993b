#pragma once

#include "annotate/document/Annotation.h"

namespace qm {

// A made-up screenshot: a window with small text on a plain desktop. Needs a QGuiApplication.
Image sampleScreenshot(QSize points, int scale);

// That screenshot with every kind of item on it, upright and turned.
AnnotationDoc sampleDocument(int scale);

} // namespace qm
