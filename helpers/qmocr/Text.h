#pragma once

#include <QString>
#include <QStringList>

namespace qm::ocr {

// A recognised line as a search wants it: composed (NFC), no control characters, single blanks, none at the ends and none
// between Japanese characters, where the recogniser puts them at will and Japanese writing has none.
QString tidied(const QString &line);

// The lines of the first reading, then those of the second that add something: lines whose letters do not stand in the
// first text already, blanks, case and character widths aside, and that hold a word of two or more characters new to it.
QStringList merged(const QStringList &first, const QStringList &second);

} // namespace qm::ocr
