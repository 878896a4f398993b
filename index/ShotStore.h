#pragma once

#include "index/Shot.h"

namespace qm {

// Read side of the index. Any thread; blocks on the store's queue. Without a database there is nothing to be found, and
// the next call looks for it again.
namespace ShotStore {

QString databasePath(); // db.sqlite in the home folder's .quillmere; the store itself calls this once per process

// Shots whose text contains the given text, newest first. "%" and "_" in it stand for any text and any character, a line
// break or tab for any text; ASCII letters match in either case. If there are none and it has several words, the shots
// that hold each of these in their text or name.
SearchResult search(const QString &text, int limit);
SearchResult recent(int limit); // newest first

// Another number whenever the index has changed, by whatever program; std::nullopt while it cannot be read.
std::optional<qint64> version();

ShotPlaces places(qint64 id);  // looks at the file as well
QList<ReadFailure> failures(); // pictures that could not be read, newest first

} // namespace ShotStore
} // namespace qm
