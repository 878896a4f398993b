#pragma once

#include <QDateTime>
#include <QStringList>

namespace qm {

class Database;

// Brings the index in line with the folders where screenshots are saved. Runs on the database's queue. Without a
// connection a pass changes nothing, and the next pass retries whatever failed.
namespace FolderScan {

struct Changes {
    int removed = 0;
    int added = 0;
    QString error; // why something could not be written, in SQLite's words; the next pass tries again
};

// The source folder, then the capture folder; a single entry if they are the same.
QStringList orderedSourceDirs();

// One pass: removes rows whose file is gone and adds a row, not yet read, for every new picture. Each folder is listed
// once, not recursively. A row is removed only if the file system reports that its path does not exist: rows in an
// unreadable folder or on an unreachable server stay.
Changes scan(Database &database, const QStringList &folders, const QDateTime &now);

} // namespace FolderScan
} // namespace qm
