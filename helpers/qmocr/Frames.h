#pragma once

#include <QImage>

namespace qm::ocr {

// Removes from a normalised picture what surrounds text and is none: frames, the lines of tables, the edges of bars.
// textHeight is that of the picture, or 0 if unknown.
void removeFrames(QImage &normalised, int textHeight);

} // namespace qm::ocr
