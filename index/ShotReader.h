#pragma once

#include "index/Database.h"
#include "index/Shot.h"

#include <QList>

#include <optional>

namespace qm {

// The read side of one index file, on a read-only connection opened by the first query that can. No thread of its own:
// its owner confines it to one queue.
class ShotReader
{
public:
    explicit ShotReader(const QString &databasePath);

    // Runs one of the readers' statements of IndexSql: the pattern, if given, is parameter 1, followed by the limit.
    // Returns an empty list if there is no index yet or it cannot be read.
    QList<Shot> query(const char *sql, const std::optional<QString> &like, int limit);

private:
    Database m_database;
};

} // namespace qm
