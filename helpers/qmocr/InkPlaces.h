#pragma once

#include "helpers/qmocr/Line.h"

#include <QImage>

namespace qm::ocr {

// Puts the line's words where their ink is: the recogniser knows the order of the letters better than their places, and
// misses by up to a whole one. prepared is the picture dark on white, the line in its pixels. All words get the height of
// the line's ink, or the width of a vertical one's. A line whose ink does not suit its words stays as it is. Any thread.
void placeByInk(Line &line, const QImage &prepared);

} // namespace qm::ocr
