// The search as the library runs it, compared with the same statement in SQLite's own shell, and with one whose function
// takes every text and looks at nothing: what reading the rows costs whatever is searched.

#include "bench/Measure.h"
#include "bench/ScreenText.h"
#include "index/IndexSql.h"
#include "index/SearchText.h"
#include "index/ShotReader.h"
#include "tests/support/TempHome.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cstdio>
#include <sqlite3.h>

using namespace qm;

static const int shots = bench::rows();
static constexpr int runs = 9;

static void fill(const QString &path)
{
    QRandomGenerator random(1);
    Database database(path, Database::Access::write);
    database.open();
    Transaction transaction(database);
    Statement insert = database.prepare("INSERT INTO shots(path, filename, mtime_ms, ocr_text, ocr_done, indexed_at)"
                                        " VALUES(?, 'x.png', ?, ?, 1, 'x')");
    for (int i = 0; i < shots; ++i) {
        insert.bind(1, QStringLiteral("/home/somebody/Pictures/Screenshots/%1.png").arg(i));
        insert.bind(2, qint64(1'700'000'000'000) + i * 1000);
        insert.bind(3, bench::screenText(random, 1000));
        if (!insert.run())
            qFatal("cannot fill the index");
    }
    transaction.commit();
}

static double secondsInShell(const QString &path, const QString &text)
{
    QString statement = QString::fromLatin1(IndexSql::searchShots);
    statement.replace(statement.indexOf(u'?'), 1, QStringLiteral("'%%1%'").arg(text));
    statement.replace(statement.indexOf(u'?'), 1, QStringLiteral("200"));
    QProcess shell;
    shell.start(QStringLiteral("sqlite3"), {QStringLiteral("-batch"), QStringLiteral("-readonly"), path});
    shell.write(".timer on\n");
    for (int i = 0; i < runs; ++i)
        shell.write((statement + QStringLiteral(";\n")).toUtf8());
    shell.closeWriteChannel();
    shell.waitForFinished(-1);
    static const QRegularExpression timing(QStringLiteral("user ([0-9.]+) sys ([0-9.]+)"));
    double best = std::numeric_limits<double>::max();
    auto matches = timing.globalMatch(QString::fromUtf8(shell.readAllStandardOutput()));
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        best = std::min(best, match.captured(1).toDouble() + match.captured(2).toDouble());
    }
    return best;
}

static double secondsOfReading(const QString &path)
{
    sqlite3 *connection = nullptr;
    sqlite3_open_v2(path.toUtf8().constData(), &connection, SQLITE_OPEN_READONLY, nullptr);
    const auto take = [](sqlite3_context *context, int, sqlite3_value **arguments) {
        sqlite3_result_int(context, sqlite3_value_text(arguments[1]) == nullptr);
    };
    sqlite3_create_function(connection, "like", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, take, nullptr, nullptr);
    sqlite3_stmt *statement = nullptr;
    sqlite3_prepare_v2(connection, IndexSql::searchShots, -1, &statement, nullptr);
    sqlite3_bind_text(statement, 1, "%x%", -1, SQLITE_STATIC);
    sqlite3_bind_int(statement, 2, 200);
    const double seconds = bench::bestOf(runs, [&] {
        while (sqlite3_step(statement) == SQLITE_ROW) {
        }
        sqlite3_reset(statement);
    });
    sqlite3_finalize(statement);
    sqlite3_close(connection);
    return seconds;
}

int main()
{
    TempHome home;
    const QString path = home.file(QStringLiteral(".quillmere/db.sqlite"));
    fill(path);
    ShotReader reader(path);
    const std::pair<const char *, QString> queries[] = {
        {"common word", QStringLiteral("total")},
        {"rare ASCII, no hit", QStringLiteral("zqxjk")},
        {"frequent first letter, no hit", QStringLiteral("exqzj")},
        {"two frequent letters, no hit", QStringLiteral("tt")},
        {"Japanese, two characters, no hit", QStringLiteral("紅葉")},
        {"Japanese, all characters frequent", QStringLiteral("しまし検")},
        {"Latin with an accent, no hit", QStringLiteral("é")},
        {"any characters between, no hit", QStringLiteral("t_q_e")},
        {"any text between, no hit", QStringLiteral("e%t%zq")},
    };
    for (const auto &[name, text] : queries) {
        qsizetype found = 0;
        const QString &wanted = text;
        double floor = secondsOfReading(path); // beside each, as the machine is never quite the same
        const double ours = bench::bestOf(
            runs, [&] { found = reader.query(IndexSql::searchShots, SearchText::pattern(wanted), 200).size(); });
        floor = std::min(floor, secondsOfReading(path));
        const double shell = secondsInShell(path, text);
        std::printf(
            "%-34s %4lld found  %7.2f ms; shell %7.2f ms; ratio to it %.2f; reading %7.2f ms, ratio to it %.2f%s\n",
            name, static_cast<long long>(found), ours * 1e3, shell * 1e3, ours / shell, floor * 1e3, ours / floor,
            found == 0 ? " (at most 1.25)" : "");
    }
    const QString words = QStringLiteral("zqxjk total");
    const double floor = secondsOfReading(path);
    const double ours = bench::bestOf(runs, [&] { reader.search(words, 200); });
    std::printf("%-34s             %7.2f ms; ratio to reading %.2f (two passes)\n", "two words, one of them nowhere",
                ours * 1e3, ours / floor);
    Database index(path, Database::Access::write);
    index.open();
    const double look = bench::bestOf(runs, [&] { index.number(IndexSql::countWaiting); });
    std::printf("%-34s             %7.2f ms; ratio to reading %.4f (at most 0.1)\n", "whether a picture is waiting",
                look * 1e3, look / floor);
    return 0;
}
