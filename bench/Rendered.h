#pragma once

#include <QImage>

namespace qm::bench {

// What a screenshot is: a wallpaper with a gradient, a menu bar, windows with text in English and Japanese, code, a table,
// a dark terminal, icons and soft shadows; more windows on larger screens, two pixels a point on wide ones. The same at every
// call; needs a QGuiApplication for its text. RGB32, or ARGB32 when it is to have transparency (rounded corners of the
// screen, as a captured window has them).
QImage renderedDesktop(QSize pixels, bool transparentCorners = false);

// What a photograph is to a codec: clouds of noise in many octaves, soft light, edges, and a sensor's grain. RGB32.
QImage renderedPhoto(QSize pixels);

} // namespace qm::bench
