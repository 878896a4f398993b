#include "index/ShotReader.h"

namespace qm {

ShotReader::ShotReader(const QString &databasePath)
    : m_database(databasePath, Database::Access::read)
{
}

static std::optional<QString> optionalText(const Statement &row, int column)
{
    return row.isNull(column) ? std::nullopt : std::optional(row.text(column));
}

QList<Shot> ShotReader::query(const char *sql, const std::optional<QString> &like, int limit)
{
    QList<Shot> shots;
    m_database.open();
    Statement statement = m_database.prepare(sql);
    int parameter = 1;
    if (like)
        statement.bind(parameter++, *like);
    statement.bind(parameter, limit);
    while (statement.nextRow())
        shots.append({statement.int64(0), statement.text(1), statement.text(2), optionalText(statement, 3),
                      optionalText(statement, 4)});
    return shots;
}

} // namespace qm
