#pragma once

struct sqlite3;

namespace qm {

// Gives a connection the functions that its searches use: like, in the place of SQLite's own, for the operator LIKE
// without an ESCAPE, and holds_words(words, text, text), true if each of the words, parted by line feeds, is LIKE a part
// of one of the texts.
void addSearchFunctions(sqlite3 *connection);

} // namespace qm
