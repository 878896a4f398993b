#pragma once

#include <QImage>

namespace qm {

// Pictures to test and measure with, the same at every call. They need a QGuiApplication for their text.
namespace RenderedScreen {

// What a screenshot is: a wallpaper with a gradient, a menu bar, windows with text in English and Japanese, code, a table,
// a dark terminal, icons and soft shadows; more windows on larger screens, two pixels a point on wide ones. RGB32, or ARGB32 when it is to have
// transparency (rounded corners of the screen, as a captured window has them).
QImage desktop(QSize pixels, bool transparentCorners = false);

// What a photograph is to a codec: clouds of noise in many octaves, soft light, edges, and a sensor's grain. RGB32.
QImage photo(QSize pixels);

} // namespace RenderedScreen
} // namespace qm
