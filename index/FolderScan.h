#pragma once

#include <QDateTime>
#include <QStringList>

namespace qm {

class Database;

// Brings the index in line with the folders where screenshots land. On the queue of the database; a pass without a
// connection changes nothing, and whatever fails is looked at again by the next pass.
namespace FolderScan {

struct Changes {
    int removed = 0;
    int added = 0;
};

// The source folder, then the capture folder; one where both are the same.
QStringList orderedSourceDirs();

// One pass: rows whose file is gone leave, every new picture gets a row, not yet read. Each folder is listed once and flat.
// A row leaves only when the file system says of its own path that there is no such file: an unreadable folder or an
// unreachable server keeps its rows.
Changes scan(Database &database, const QStringList &folders, const QDateTime &now);

} // namespace FolderScan
} // namespace qm
