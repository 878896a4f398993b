#pragma once

#include "helpers/qmocr/Line.h"

#include <QList>

namespace qm::ocr {

// Puts a line that was found late among the others, which are read from top to bottom, rows from left to right, and keep
// their order: where the fewest are on the wrong side of it. Any thread.
void insertInOrder(QList<Line> &lines, const Line &line);

} // namespace qm::ocr
