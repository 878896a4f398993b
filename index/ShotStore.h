#pragma once

#include "index/Shot.h"

#include <QList>

namespace qm {

// Read side of the index. Any thread; blocks on the store's queue.
// No database yet, or it cannot be opened: an empty list, and the next call tries again.
namespace ShotStore {

QString databasePath(); // db.sqlite in .quillmere of the home folder; the store itself asks once per process

// Shots whose text holds the words, newest first. "%" and "_" in it stand for any text and any character; ASCII letters
// match in either case.
QList<Shot> search(const QString &text, int limit);
QList<Shot> recent(int limit); // newest first

} // namespace ShotStore
} // namespace qm
