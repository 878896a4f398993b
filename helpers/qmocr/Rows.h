#pragma once

#include "helpers/qmocr/Components.h"

#include <QList>
#include <QRect>

namespace qm::ocr {

// Boxes around what stands in a row without wide gaps: a label, a cell, a sentence. Found by the letters' distances
// alone, where the recogniser may have seen parts of a line, or its upper and its lower half. spots are the letters of a
// prepared picture, textHeight is theirs. Any thread.
QList<QRect> rowsAmong(const Components &spots, int textHeight);

} // namespace qm::ocr
