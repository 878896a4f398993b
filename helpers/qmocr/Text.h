#pragma once

#include "helpers/qmocr/Line.h"

#include <QString>

#include <optional>

namespace qm::ocr {

// The symbols as a line for searching: composed (NFC), no control characters, single blanks, none at the ends and none
// between Japanese characters, where the recogniser inserts them at random and Japanese has none. None if nothing is left.
std::optional<Line> lineOf(const QList<Symbol> &symbols);

// The lines of the first reading, then those of the second that add something: lines whose letters do not occur in the
// first text (ignoring blanks, case and character width) and that contain a new word of at least two characters.
QList<Line> merged(const QList<Line> &first, const QList<Line> &second);

QString textOf(const QList<Line> &lines); // one line each

} // namespace qm::ocr
