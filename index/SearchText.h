#pragma once

#include "index/Shot.h"

#include <QStringList>

namespace qm {

// What a typed search means. Any thread.
namespace SearchText {

inline constexpr qsizetype longestPattern = 50'000; // bytes; a longer one SQLite refuses

// The text with every line break and tab, and the blanks beside them, as "%": where a text was broken into lines need
// not be where it is in a picture.
QString asTyped(const QString &typed);
QString pattern(const QString &typed);   // for LIKE: anything that contains it
QStringList words(const QString &typed); // each once

// What to mark in a text that was found.
QStringList terms(const QString &typed, SearchResult::Match match);

} // namespace SearchText
} // namespace qm
