#pragma once

#include "helpers/qmocr/Line.h"

#include <QList>
#include <QRect>

namespace qm::ocr {

// A part of the picture to be read again, as one line.
struct Doubt {
    QRect area;
    QList<qsizetype> lines; // the indexes of what was read there: none, a line, or fragments of one from left to right
    bool isJapanese = false;
};

// Where a reading is not sure of itself, or missed something. rows and textHeight are the picture's, see Rows.h; all in the
// same pixels.
QList<Doubt> doubtsAmong(const QList<Line> &lines, const QList<QRect> &rows, int textHeight);

} // namespace qm::ocr
