#pragma once

#include "index/Database.h"
#include "index/Shot.h"

#include <memory>
#include <sys/types.h>

namespace qm {

// The read side of one index file, on a read-only connection opened by the first query that can. No thread of its own:
// its owner confines it to one queue. A connection that has met an error is given up, and so is one whose file was
// replaced by another; the next query opens a new one. While there is no file, what is still open stays in use.
class ShotReader
{
public:
    explicit ShotReader(const QString &databasePath);

    // These are what ShotStore offers.
    SearchResult search(const QString &text, int limit);
    SearchResult recent(int limit);
    std::optional<qint64> version();
    QList<ReadFailure> failures();

    // Where the text of a shot stands, as the index has it, and what the file was when it was read.
    struct StoredPlaces {
        std::optional<TextBoxes> boxes;
        QByteArray path;
        qint64 bytes = 0;
        qint64 modifiedMs = 0;
    };
    std::optional<StoredPlaces> places(qint64 id); // std::nullopt without a text

    // Runs one of the readers' statements of IndexSql: the pattern or words, if given, are parameter 1, followed by the
    // limit. Returns an empty list if there is no index yet or it cannot be read.
    QList<Shot> query(const char *sql, const std::optional<QString> &like, int limit);

private:
    struct File {
        dev_t device = 0;
        ino_t number = 0;
        bool operator==(const File &) const = default;
    };

    bool connect();
    void giveUp();
    void complete(SearchResult &result);

    const QString m_path;
    std::unique_ptr<Database> m_database; // null until there is a file
    File m_file;                          // that it is connected to
    qint64 m_connections = 0;             // so far
    bool m_hasSeenTable = false;
    bool m_failed = false;
};

} // namespace qm
