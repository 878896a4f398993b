#include "index/ShotReader.h"

#include "index/IndexSql.h"
#include "index/SearchText.h"

#include <QFile>

#include <sys/stat.h>

namespace qm {

ShotReader::ShotReader(const QString &databasePath)
    : m_path(databasePath)
{
}

void ShotReader::giveUp()
{
    m_database.reset();
    m_failed = true;
}

// False if nothing can be asked, which is a failure unless there is no index yet: no file, or one that its writer has
// only just created.
bool ShotReader::connect()
{
    m_failed = false;
    struct stat status;
    if (::stat(QFile::encodeName(m_path).constData(), &status) != 0)
        return m_database != nullptr;
    if (status.st_size == 0 && !m_hasSeenTable)
        return false;
    const File file{status.st_dev, status.st_ino};
    if (m_database && file == m_file)
        return true;
    m_file = file;
    m_database = std::make_unique<Database>(m_path, Database::Access::read);
    ++m_connections;
    if (m_database->open())
        return true;
    giveUp();
    return false;
}

static std::optional<QString> optionalText(const Statement &row, int column)
{
    return row.isNull(column) ? std::nullopt : std::optional(row.text(column));
}

QList<Shot> ShotReader::query(const char *sql, const std::optional<QString> &like, int limit)
{
    QList<Shot> shots;
    if (!connect())
        return shots;
    Statement statement = m_database->prepare(sql);
    int parameter = 1;
    if (like)
        statement.bind(parameter++, *like);
    statement.bind(parameter, limit);
    while (statement.nextRow())
        shots.append({statement.int64(0), statement.text(1), statement.text(2), optionalText(statement, 3),
                      optionalText(statement, 4)});
    if (statement.failed())
        giveUp();
    else
        m_hasSeenTable = true;
    return shots;
}

SearchResult ShotReader::search(const QString &text, int limit)
{
    SearchResult result;
    const QString pattern = SearchText::pattern(text);
    if (pattern.toUtf8().size() > SearchText::longestPattern)
        return result;
    result.shots = query(IndexSql::searchShots, pattern, limit);
    if (result.shots.isEmpty() && !m_failed) {
        if (const QStringList words = SearchText::words(text); words.size() > 1) {
            result.shots = query(IndexSql::searchWords, words.join(u'\n'), limit);
            if (!result.shots.isEmpty())
                result.match = SearchResult::Match::words;
        }
    }
    complete(result);
    return result;
}

SearchResult ShotReader::recent(int limit)
{
    SearchResult result;
    result.shots = query(IndexSql::recentShots, std::nullopt, limit);
    complete(result);
    return result;
}

void ShotReader::complete(SearchResult &result)
{
    result.failed = m_failed;
    if (m_failed)
        result.shots.clear(); // it may be some of them
    else if (m_database)
        result.unreadablePictures = int(m_database->number(IndexSql::countFailed));
}

std::optional<qint64> ShotReader::version()
{
    if (!connect())
        return m_failed ? std::nullopt : std::optional<qint64>(0);
    Statement version = m_database->prepare("PRAGMA data_version"); // counts the commits of other connections
    if (!version.nextRow()) {
        giveUp();
        return std::nullopt;
    }
    return (m_connections << 32) + version.int64(0);
}

std::optional<ShotReader::StoredPlaces> ShotReader::places(qint64 id)
{
    if (!connect())
        return std::nullopt;
    Statement row = m_database->prepare(IndexSql::boxesOf);
    row.bind(1, id);
    if (!row.nextRow() || row.isNull(1))
        return std::nullopt;
    StoredPlaces places{{}, row.blob(2), row.int64(3), row.int64(4)};
    if (!row.isNull(0))
        places.boxes = TextBoxes::unpacked(row.blob(0), row.text(1));
    return places;
}

QList<ReadFailure> ShotReader::failures()
{
    QList<ReadFailure> failures;
    if (!connect())
        return failures;
    Statement rows = m_database->prepare(IndexSql::failures);
    while (rows.nextRow())
        failures.append({rows.text(0), rows.text(1)});
    return failures;
}

} // namespace qm
