#pragma once

#include "index/Shot.h"

#include <QList>

namespace qm {

// Read side of the index. Any thread; blocks on the store's queue. Returns an empty list if there is no database yet or
// it cannot be opened; the next call tries again.
namespace ShotStore {

QString databasePath(); // db.sqlite in the home folder's .quillmere; the store itself calls this once per process

// Shots whose text contains the given text, newest first. "%" and "_" in it stand for any text and any character; ASCII
// letters match in either case.
QList<Shot> search(const QString &text, int limit);
QList<Shot> recent(int limit); // newest first

} // namespace ShotStore
} // namespace qm
