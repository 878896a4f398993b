#pragma once

#include <QString>
#include <QStringList>

namespace qm::ocr {

// Normalises a recognised line for searching: composed (NFC), no control characters, single blanks, none at the ends
// and none between Japanese characters, where the recogniser inserts them at random and Japanese has none.
QString tidied(const QString &line);

// The lines of the first reading, then those of the second that add something: lines whose letters do not occur in the
// first text (ignoring blanks, case and character width) and that contain a new word of at least two characters.
QStringList merged(const QStringList &first, const QStringList &second);

} // namespace qm::ocr
