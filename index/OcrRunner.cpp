#include "index/OcrRunner.h"

#include "index/Database.h"
#include "index/IndexSql.h"
#include "platform/ChildProcess.h"
#include "platform/FolderListing.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace qm {

namespace {

struct Pending {
    qint64 id;
    QByteArray path;
    bool present;
    bool askable; // a line feed in a name would read as two paths
};

std::vector<Pending> pendingRows(Database &database, int limit)
{
    std::vector<Pending> rows;
    Statement waiting = database.prepare(IndexSql::waiting);
    waiting.bind(1, limit);
    while (waiting.nextRow()) {
        const std::string_view path = waiting.bytes(1);
        const QByteArray bytes(path.data(), qsizetype(path.size()));
        rows.push_back({waiting.int64(0), bytes, FolderListing::existence(bytes) == FolderListing::Existence::exists,
                        !bytes.contains('\n')});
    }
    return rows;
}

// The command line works on the same rows as the application: without this, both would read the same pictures at once.
// The process holds the lock, not the file's existence or content, so no leftover of a killed process counts. Where the
// file cannot be created or its file system has no locks, the batch runs without one.
class BatchLock
{
public:
    explicit BatchLock(const Database &database)
        : m_file(
              open(QFile::encodeName(QFileInfo(database.path()).path() + QStringLiteral("/reading.lock")).constData(),
                   O_RDWR | O_CREAT | O_CLOEXEC, 0600)) // closed in the helper, which may outlive us for a moment
        , m_taken(m_file >= 0 && flock(m_file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
    {
    }
    ~BatchLock()
    {
        if (m_file >= 0)
            close(m_file);
    }
    Q_DISABLE_COPY_MOVE(BatchLock)

    bool isTaken() const { return m_taken; } // by another process

private:
    const int m_file;
    const bool m_taken;
};

// The whole output, or nothing if it is not UTF-8: a helper that garbles one line cannot be trusted with the others.
QByteArray runHelper(const QString &helper, const std::vector<Pending> &rows, const OcrRunner::Progress &progress)
{
    QByteArray input;
    int asked = 0;
    for (const Pending &row : rows) {
        if (row.present && row.askable) {
            input += row.path + '\n';
            ++asked;
        }
    }
    if (asked == 0)
        return {};
    int answered = 0;
    const auto received = [&](const QByteArray &piece) {
        answered += int(piece.count('\n'));
        if (progress)
            progress(std::min(answered, asked), asked);
    };
    const QByteArray output = ChildProcess::run(helper, {}, input, received).value_or(QByteArray());
    return QUtf8StringView(output).isValidUtf8() ? output : QByteArray();
}

// Reading takes minutes, and would be in vain on a full disk. There and back: SQLite does not write what changes nothing.
bool canWrite(Database &database, qint64 waitingId)
{
    Transaction transaction(database);
    for (const char *sql : {IndexSql::giveUp, IndexSql::leaveWaiting}) {
        Statement change = database.prepare(sql);
        change.bind(1, waitingId);
        if (!change.run())
            return false;
    }
    return transaction.commit();
}

} // namespace

OcrRunner::Results OcrRunner::parseNdjson(const QByteArray &output)
{
    Results results;
    for (const QByteArray &line : output.split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line.trimmed()).object();
        const QJsonValue path = object.value(u"path");
        if (!path.isString())
            continue;
        const QJsonValue text = object.value(u"text");
        if (object.contains(u"error"))
            results.insert(path.toString().toUtf8(), std::nullopt);
        else if (text.isString())
            results.insert(path.toString().toUtf8(), text.toString());
    }
    return results;
}

bool OcrRunner::isBusy(const Database &database)
{
    return BatchLock(database).isTaken();
}

int OcrRunner::run(Database &database, const std::optional<QString> &helper, int limit, const Progress &progress)
{
    if (!helper)
        return 0;
    BatchLock lock(database);
    if (lock.isTaken())
        return 0;

    const std::vector<Pending> rows = pendingRows(database, limit);
    if (rows.empty())
        return 0;
    if (!canWrite(database, rows.front().id))
        return 0;
    const Results results = parseNdjson(runHelper(*helper, rows, progress));

    Transaction transaction(database);
    Statement giveUp = database.prepare(IndexSql::giveUp);
    Statement store = database.prepare(IndexSql::storeText);
    int stored = 0;
    for (const Pending &row : rows) {
        if (!row.present || !row.askable) {
            giveUp.bind(1, row.id);
            if (!giveUp.run())
                return 0;
        } else if (const std::optional<QString> text = results.value(row.path)) {
            store.bind(1, *text);
            store.bind(2, row.id);
            if (!store.run())
                return 0;
            ++stored;
        }
    }
    return transaction.commit() ? stored : 0;
}

} // namespace qm
