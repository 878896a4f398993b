#include "cli/Commands.h"

#include "config/FolderPresence.h"
#include "index/Database.h"
#include "index/FolderScan.h"
#include "index/IndexSql.h"
#include "index/OcrRunner.h"
#include "index/SearchText.h"
#include "index/ShotEraser.h"
#include "index/ShotStore.h"
#include "index/TakenAt.h"
#include "index/TextMatch.h"
#include "platform/TerminationSignals.h"
#include "platform/ToolPaths.h"
#include "ui/AppLocale.h"
#include "ui/HelperReason.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <thread>

namespace qm {

using AppLocale::text;
using namespace std::chrono_literals;

static Exit cannotOpen(Console &console, const Database &database)
{
    return console.fail(
        text(u"the index %1 cannot be used: %2", u"索引 %1 を使えません: %2").arg(database.path(), database.error()));
}

static Exit cannotWrite(Console &console, const Database &database, const QString &error)
{
    return console.fail(text(u"the index %1 could not be written: %2", u"索引 %1 に書き込めませんでした: %2")
                            .arg(database.path(), error));
}

Exit Commands::scan(Console &console)
{
    Database database(ShotStore::databasePath(), Database::Access::write);
    if (!database.open())
        return cannotOpen(console, database);
    const FolderScan::Changes changes =
        FolderScan::scan(database, {.folders = FolderScan::orderedSourceDirs(),
                                    .away = FolderPresence::rememberedAwayFolders(QDateTime::currentDateTimeUtc()),
                                    .share = 1});
    if (!changes.error.isEmpty())
        return cannotWrite(console, database, changes.error);
    if (!database.error().isEmpty())
        return cannotOpen(console, database);
    const int total = int(database.number(IndexSql::countShots));
    if (console.json())
        console.row({{QStringLiteral("added"), changes.added},
                     {QStringLiteral("removed"), changes.removed},
                     {QStringLiteral("changed"), changes.changed},
                     {QStringLiteral("shots"), total}});
    else
        console.line(
            text(u"%1 new, %2 changed, %3 gone, %4 in the index", u"追加 %1 件、変更 %2 件、削除 %3 件、索引には %4 件")
                .arg(changes.added)
                .arg(changes.changed)
                .arg(changes.removed)
                .arg(total));
    return Exit::success;
}

// A helper that was being started when its program was killed has the lock for the moment until it runs.
static bool isBusyForLong(const Database &database)
{
    QDeadlineTimer patience(1s);
    while (OcrRunner::isBusy(database)) {
        if (patience.hasExpired())
            return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

Exit Commands::ocr(Console &console, Batches batches)
{
    const std::optional<QString> helper = toolPaths().ocr;
    if (!helper)
        return console.fail(text(u"the text recognition helper qmocr is not installed next to this program",
                                 u"文字認識の補助プログラム qmocr がこのプログラムと同じフォルダーにありません"));
    Database database(ShotStore::databasePath(), Database::Access::write);
    if (!database.open())
        return cannotOpen(console, database);

    TerminationSignals::defer(); // what has been read by then is kept
    int read = 0;
    OcrRunner::Batch batch;
    while (!TerminationSignals::received()) {
        const int waiting = int(database.number(IndexSql::countWaiting));
        if (waiting == 0)
            break;
        if (isBusyForLong(database))
            return console.fail(text(u"another program is reading pictures right now; try again in a moment",
                                     u"別のプログラムが画像を読み取り中です。少し待ってからもう一度お試しください"));
        const int total = batches == Batches::all ? read + waiting : std::min(waiting, OcrRunner::batchSize);
        console.progress(read, total);
        const int before = read;
        batch = OcrRunner::run(database, helper, OcrRunner::batchSize,
                               [&](int done, int) { console.progress(before + done, total); });
        read += batch.read;
        if (read == before || batches == Batches::one)
            break;
    }
    console.endProgress();
    if (batch.trouble == OcrRunner::Batch::Trouble::write)
        return cannotWrite(console, database, batch.reason);
    const int waiting = int(database.number(IndexSql::countWaiting));
    const int failed = int(database.number(IndexSql::countFailed));
    if (console.json())
        console.row(
            {{QStringLiteral("read"), read}, {QStringLiteral("waiting"), waiting}, {QStringLiteral("failed"), failed}});
    else
        console.line(text(u"%1 read, %2 still waiting", u"%1 件を読み取りました。残り %2 件").arg(read).arg(waiting) +
                     (failed == 0 ? QString()
                                  : text(u", %1 of them cannot be read (see qms status --failed)",
                                         u"（うち %1 件は読み取れません。理由は qms status --failed）")
                                        .arg(failed)));
    if (batch.trouble == OcrRunner::Batch::Trouble::helper)
        return console.fail(
            text(u"the text recognition helper failed: %1", u"文字認識の補助プログラムが失敗しました: %1")
                .arg(HelperReason::shown(batch.reason)));
    return read > 0 || waiting == 0 ? Exit::success : Exit::nothingFound;
}

static QJsonObject jsonOf(const Shot &shot)
{
    return {{QStringLiteral("id"), shot.id},
            {QStringLiteral("path"), shot.path},
            {QStringLiteral("filename"), shot.filename},
            {QStringLiteral("takenAt"), shot.takenAt ? QJsonValue(*shot.takenAt) : QJsonValue()},
            {QStringLiteral("text"), shot.ocrText ? QJsonValue(*shot.ocrText) : QJsonValue()}};
}

// "2026-03-05 14:07:09"; times taken from the file are UTC and shown in local time.
static QString shownTime(const std::optional<QString> &takenAt)
{
    const QString local = localTime(takenAt.value_or(QString()));
    return local.isEmpty() ? QString(19, u'-') : QString(local).replace(u'T', u' ');
}

static Exit show(Console &console, const QList<Shot> &shots, const QStringList &searched)
{
    constexpr int indent = 4;
    for (const Shot &shot : shots) {
        if (console.json()) {
            console.row(jsonOf(shot));
            continue;
        }
        console.line(console.faint(shownTime(shot.takenAt)) + QStringLiteral("  ") + console.printable(shot.path));
        if (searched.isEmpty())
            continue;
        const TextMatch::Excerpt excerpt =
            TextMatch::excerpt(shot.ocrText.value_or(QString()), searched, std::max(20, console.width() - indent));
        const auto [start, length] = excerpt.match;
        console.line(QString(indent, u' ') + excerpt.line.first(start) +
                     console.strong(excerpt.line.sliced(start, length)) + excerpt.line.sliced(start + length));
    }
    return shots.isEmpty() ? Exit::nothingFound : Exit::success;
}

// A read-only connection cannot roll back the journal of a killed writer, and would find nothing.
static bool recover(Console &console)
{
    if (!QFileInfo::exists(ShotStore::databasePath()))
        return true;
    Database database(ShotStore::databasePath(), Database::Access::write);
    if (!database.open())
        cannotOpen(console, database);
    return database.error().isEmpty();
}

static Exit cannotRead(Console &console)
{
    return console.fail(text(u"the index %1 cannot be read", u"索引 %1 を読めません").arg(ShotStore::databasePath()));
}

Exit Commands::search(Console &console, const QString &searched, int limit)
{
    if (!recover(console))
        return Exit::failure;
    const SearchResult result = ShotStore::search(searched, limit);
    if (result.failed)
        return cannotRead(console);
    if (result.match == SearchResult::Match::words)
        console.remark(text(u"nothing holds exactly this; these hold all of the words",
                            u"この通りの文字列は見つかりません。すべての語を含むものを表示します"));
    return show(console, result.shots, SearchText::terms(searched, result.match));
}

Exit Commands::forget(Console &console, const QStringList &files)
{
    QList<QByteArray> paths;
    for (const QString &file : files) {
        const QByteArray path = QFile::encodeName(QDir::cleanPath(QFileInfo(file).absoluteFilePath()));
        if (!paths.contains(path))
            paths.append(path);
    }
    Database database(ShotStore::databasePath(), Database::Access::write);
    if (!database.open())
        return cannotOpen(console, database);
    const ShotEraser::Outcome outcome = ShotEraser::forget(database, paths);
    if (!outcome.error.isEmpty())
        return console.fail(text(u"some of it may still be in the index or a copy of it: %1; try again",
                                 u"索引またはその控えに一部が残っている可能性があります: %1。もう一度お試しください")
                                .arg(outcome.error));
    for (const QByteArray &path : outcome.unknown)
        console.remark(
            text(u"not in the index: %1", u"索引にありません: %1").arg(console.printable(QFile::decodeName(path))));
    if (console.json())
        console.row({{QStringLiteral("forgotten"), outcome.forgotten}});
    else
        console.line(text(u"%1 forgotten", u"%1 件の文字を消去しました").arg(outcome.forgotten));
    return outcome.unknown.isEmpty() ? Exit::success : Exit::nothingFound;
}

Exit Commands::list(Console &console, int limit)
{
    if (!recover(console))
        return Exit::failure;
    const SearchResult result = ShotStore::recent(limit);
    return result.failed ? cannotRead(console) : show(console, result.shots, {});
}

} // namespace qm
