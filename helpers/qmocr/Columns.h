#pragma once

#include "helpers/qmocr/Components.h"

#include <QList>
#include <QRect>

namespace qm::ocr {

// Text in columns that are read from top to bottom.
struct Columns {
    QRect box; // pixels
    int em;    // width of a column, pixels
};

// Where the letters stand closer to those above and below than to those beside them: columns of Japanese, but also of
// icons. spots are the letters of a prepared picture. Any thread.
QList<Columns> columnsAmong(const Components &spots);

} // namespace qm::ocr
