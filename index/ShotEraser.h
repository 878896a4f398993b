#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace qm {

class Database;

// Takes what pictures say out of the index. Runs on the database's queue; a large index takes seconds.
namespace ShotEraser {

struct Outcome {
    int forgotten = 0;
    QList<QByteArray> unknown; // paths that are not in the index
    QString error;             // why something may have remained, in SQLite's words
};

// Removes the texts of the files (absolute paths, UTF-8), where the words stand, and why reading failed. The rows stay,
// as done, so that the files are not read again until they change. The index and the copies that were kept of its older
// forms are rewritten, as SQLite leaves behind what it has moved or freed; also if no path is known, as its row may have
// gone with its file.
Outcome forget(Database &database, const QList<QByteArray> &paths);

} // namespace ShotEraser
} // namespace qm
