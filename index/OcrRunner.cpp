#include "index/OcrRunner.h"

#include "index/Database.h"
#include "index/IndexSql.h"
#include "platform/ChildProcess.h"
#include "platform/FolderListing.h"
#include "platform/TerminationSignals.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

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

// statement: one that gives id and path, and takes one number.
std::vector<Pending> pendingRows(Database &database, const char *statement, qint64 parameter)
{
    std::vector<Pending> rows;
    Statement waiting = database.prepare(statement);
    waiting.bind(1, parameter);
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

// Whether it is this process that ended the helper.
bool isInterrupted()
{
    return QThread::currentThread()->isInterruptionRequested() || TerminationSignals::received();
}

struct Reading {
    OcrRunner::Results results;
    QString complaint; // why the helper could not read, if that is not the pictures' fault
};

Reading runHelper(const QString &helper, const std::vector<Pending> &rows, const OcrRunner::Progress &progress)
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
    const std::optional<ChildProcess::Result> result =
        ChildProcess::run(helper, {QStringLiteral("--boxes")}, input, received);
    if (!result)
        return {{}, QStringLiteral("%1 cannot be started").arg(helper)};
    // A helper that garbles one line cannot be trusted with the others.
    if (!QUtf8StringView(result->output).isValidUtf8())
        return {{}, QStringLiteral("its answer is not UTF-8")};
    Reading reading{OcrRunner::parseNdjson(result->output), {}};
    // The libraries that it reads with print warnings as well; its own begin with its name.
    const QByteArray name = QFileInfo(helper).fileName().toUtf8() + ": ";
    for (const QByteArray &line : result->errors.split('\n')) {
        if (line.startsWith(name))
            reading.complaint = QString::fromUtf8(line.mid(name.size()));
    }
    if (reading.complaint.isEmpty() && reading.results.size() < asked && !isInterrupted())
        reading.complaint = QStringLiteral("it ended before it had answered");
    return reading;
}

// Reading takes minutes, and would be in vain on a full disk. SQLite does not write what changes nothing.
bool canWrite(Database &database, qint64 waitingId)
{
    Transaction transaction(database);
    for (const char *sql : {IndexSql::tryThere, IndexSql::tryBack}) {
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
            results.insert(path.toString().toUtf8(), {std::nullopt, std::nullopt, object.value(u"error").toString()});
        else if (text.isString())
            results.insert(
                path.toString().toUtf8(),
                {text.toString(), TextBoxes::fromLines(object.value(u"lines").toArray(), text.toString()), {}});
    }
    return results;
}

OcrRunner::Answer OcrRunner::readPicture(const QString &helper, const QString &path)
{
    const Pending picture{0, path.toUtf8(), true, true};
    const Reading reading = runHelper(helper, {picture}, {});
    return reading.results.value(picture.path, {std::nullopt, std::nullopt, reading.complaint});
}

bool OcrRunner::isBusy(const Database &database)
{
    return BatchLock(database).isTaken();
}

static bool storePlaces(Database &database, qint64 id, const OcrRunner::Answer &answer)
{
    Statement change = database.prepare(answer.boxes ? IndexSql::storeBoxes : IndexSql::forgetBoxes);
    change.bind(1, id);
    if (answer.boxes)
        change.bind(2, answer.boxes->packed(*answer.text));
    return change.run();
}

static bool store(Database &database, const std::vector<Pending> &rows, const Reading &reading, OcrRunner::Batch *batch)
{
    Transaction transaction(database);
    Statement giveUp = database.prepare(IndexSql::giveUp);
    Statement storeText = database.prepare(IndexSql::storeText);
    Statement recordFailure = database.prepare(IndexSql::recordFailure);
    Statement forgetFailure = database.prepare(IndexSql::forgetFailure);
    for (const Pending &row : rows) {
        Statement *change = nullptr;
        const auto answer = reading.results.constFind(row.path);
        if (!row.present || !row.askable) {
            giveUp.bind(1, row.id);
            change = &giveUp;
        } else if (answer == reading.results.constEnd()) {
            continue;
        } else if (answer->text) {
            storeText.bind(1, *answer->text);
            storeText.bind(2, row.id);
            change = &storeText;
            ++batch->read;
            if (!storePlaces(database, row.id, *answer))
                return false;
        } else {
            ++batch->failed;
            if (!reading.complaint.isEmpty())
                continue;
            recordFailure.bind(1, row.id);
            recordFailure.bind(2, answer->error.isEmpty() ? QStringLiteral("unknown") : answer->error);
            recordFailure.bind(3, QDateTime::currentMSecsSinceEpoch());
            if (!recordFailure.run())
                return false;
            continue;
        }
        forgetFailure.bind(1, row.id);
        if (!change->run() || !forgetFailure.run())
            return false;
    }
    return transaction.commit();
}

OcrRunner::Batch OcrRunner::run(Database &database, const std::optional<QString> &helper, int limit,
                                const Progress &progress)
{
    if (!helper)
        return {};
    BatchLock lock(database);
    if (lock.isTaken())
        return {};

    const std::vector<Pending> rows = pendingRows(database, IndexSql::waiting, limit);
    if (rows.empty())
        return {};
    if (!canWrite(database, rows.front().id))
        return {.trouble = Batch::Trouble::write, .reason = database.error()};
    const Reading reading = runHelper(*helper, rows, progress);
    Batch batch;
    if (!store(database, rows, reading, &batch))
        return {.trouble = Batch::Trouble::write, .reason = database.error()};
    if (!reading.complaint.isEmpty()) {
        batch.trouble = Batch::Trouble::helper;
        batch.reason = reading.complaint;
    }
    return batch;
}

void OcrRunner::readAgain(Database &database, const std::optional<QString> &helper, qint64 id)
{
    BatchLock lock(database);
    const std::vector<Pending> rows = pendingRows(database, IndexSql::readShot, id);
    if (!helper || lock.isTaken() || rows.empty() || !rows.front().present || !rows.front().askable)
        return;
    const Reading reading = runHelper(*helper, rows, {});
    Batch batch;
    const auto answer = reading.results.constFind(rows.front().path);
    if (reading.complaint.isEmpty() && answer != reading.results.constEnd() && answer->text)
        store(database, rows, reading, &batch);
}

} // namespace qm
