#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QStringList>

#include <string_view>

namespace qm {

class Database;

// Brings the index in line with the folders where screenshots are saved. Runs on the database's queue. Without a
// connection a pass changes nothing, and the next pass retries whatever failed.
namespace FolderScan {

// One pass. Every known file is listed, but looked at for a change (of size or modification time) only if there is reason
// to: it is among the newest few hundred, it could not be read so far, or it is mentioned here. A stat of each would cost
// several times the listing.
struct Pass {
    QStringList folders = {};     // listed once each, not recursively
    QStringList away = {};        // rows of files below these stay, although the files are not there
    QList<QByteArray> named = {}; // paths of files that may have changed
    int share = 0;                // look at one row in that many, in turn: 1 is all of them, 0 none
    qint64 after = 0;             // id of the last row whose turn has been; Changes says how far this pass came
    QDateTime now = QDateTime::currentDateTimeUtc();
};

struct Changes {
    int removed = 0;
    int added = 0;
    int changed = 0; // replaced or still being written: waiting to be read (again)
    qint64 after = 0;
    QString error; // why something could not be written, in SQLite's words; the next pass tries again
};

bool isImage(std::string_view name); // by its extension; name may be a path

// The source folder, then the capture folder; a single entry if they are the same.
QStringList orderedSourceDirs();

// Removes rows whose file is gone, adds a row, not yet read, for every new picture, and has changed ones read again. A
// row is removed only if the file system reports that its path does not exist: rows in an unreadable folder or on an
// unreachable server stay.
Changes scan(Database &database, const Pass &pass);

} // namespace FolderScan
} // namespace qm
