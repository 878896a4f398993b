#pragma once

#include <QImage>

namespace qm::ocr {

// What text stands on: windows, bars, buttons, badges, selected rows; evenly coloured or a gradient.
// Gives for each pixel of a grey picture the level of the surface on which it stands, as far as one is found; elsewhere
// (photographs, noise) the level given in `otherwise`, a picture of the same size. Any thread.
QImage grounds(const QImage &gray, QImage otherwise);

} // namespace qm::ocr
