#include "index/FolderScan.h"
#include "index/IndexSql.h"
#include "index/OcrRunner.h"
#include "index/ShotEraser.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/TempHome.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace qm;
using namespace Qt::StringLiterals;

static constexpr char readsOne[] = "read -r p; text \"$p\" t";
static constexpr char all[] = "SELECT filename, ocr_text, ocr_done FROM shots ORDER BY mtime_ms DESC";

class tst_OcrRunner : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<Database> m_database;

    OcrRunner::Batch m_batch; // the last one

    // One row, newest first in order of the calls.
    void addRow(const QString &name, bool present = true)
    {
        if (present)
            m_home->write(name, "x");
        QVERIFY(qm::addRow(*m_database, m_home->file(name), 1000 - m_database->number(IndexSql::countShots)));
    }
    int run(const QByteArray &helper, int limit = 40)
    {
        const QByteArray text = "text() { printf '{\"path\": \"%s\", \"text\": \"%s\"}\\n' \"$1\" \"$2\"; }\n";
        const QString script = m_home->script(u"helper"_s, "cd ${0%/*}\n" + text + helper);
        return (m_batch = OcrRunner::run(*m_database, script, limit)).read;
    }

private Q_SLOTS:
    void init()
    {
        m_database.reset();
        m_home = std::make_unique<TempHome>();
        m_database = std::make_unique<Database>(m_home->file(u".quillmere/db.sqlite"_s), Database::Access::write);
        QVERIFY(m_database->open());
    }

    void helpers()
    {
        const std::tuple<QByteArray, QString, QString> rows[] = {
            // what becomes of one.png and two.png
            {"while read -r p; do text \"$p\" \"日本 ${p##*/}\"; done", u"日本 one.png|1"_s, u"日本 two.png|1"_s},
            {"read -r a; read -r b; echo; printf '  '; text \"$b\" ''; text \"$a\" t", u"t|1"_s,
             u"|1"_s}, // in any order
            // An error beats a text, a later line an earlier one.
            {"read -r a; read -r b; text \"$a\" 't\",\"error\":null,\"x\":\"'; text \"$b\" first; text \"$b\" last",
             u"-|0"_s, u"last|1"_s},
            {"read -r a; text \"$a\" t; printf '{\"path\"'; kill -9 $$", u"t|1"_s, u"-|0"_s},
            {"echo '[1]'; echo '{\"path\": 7, \"text\": \"t\"}'; echo '{\"text\": \"t\"}'; echo no", u"-|0"_s,
             u"-|0"_s},
            {"read -r p; echo \"{\\\"path\\\": \\\"$p\\\", \\\"text\\\": 5}\"", u"-|0"_s, u"-|0"_s},
            {"read -r a; text \"$a\" t; printf '\\377\\n'", u"-|0"_s, u"-|0"_s}, // not UTF-8 anywhere
            {"text /etc/other.png t", u"-|0"_s, u"-|0"_s},
            {"exit 1", u"-|0"_s, u"-|0"_s},
        };
        for (const auto &[script, one, two] : rows) {
            init();
            addRow(u"one.png"_s);
            addRow(u"gone.png"_s, false);
            addRow(u"two.png"_s);
            const QStringList expected{u"one.png|"_s + one, u"gone.png|-|1"_s, u"two.png|"_s + two};
            QCOMPARE(run(script), 3 - expected.filter(u"|-|"_s).size());
            QCOMPARE(qm::rows(*m_database, all, 3), expected);
        }
    }

    void boxesAreKeptWithTheirText()
    {
        const QString text = u"Total 1,280\n\n請求書"_s;
        const auto lines = [](const char *words) {
            return QJsonDocument::fromJson(
                       QByteArray(R"([{"box":[10,20,90,12],"words":[[0,5,10,20,40,12],[6,5,60,21,40,9]]},)"
                                  R"({"box":[],"words":[]},{"box":[9,50,30,10],"words":)") +
                       words + "}]")
                .array();
        };
        const auto boxes = TextBoxes::fromLines(lines("[[0,1,9,50,10,10],[1,1,19,50,10,10],[2,1,29,50,10,10]]"), text);
        QVERIFY(boxes);
        QCOMPARE(boxes->boxesOf(3, 5), QList<QRectF>({{34, 20, 42, 12}})); // "al 1," is one part of a line
        QCOMPARE(boxes->boxesOf(9, 6), QList<QRectF>({{84, 20, 16, 12}, {9, 50, 20, 10}}));
        for (const char *words :
             {"[[0,4,9,50,10,10]]", "[[1,1,9,50,9,9],[0,1,9,50,9,9]]", "[[0,1,-9,50,10,10]]", "[[0,1]]"})
            QVERIFY2(!TextBoxes::fromLines(lines(words), text), words);

        // Boxes of Japanese characters that reach over others.
        const auto mended = TextBoxes::fromLines(lines("[[0,1,9,50,13,10],[1,1,19,50,20,10],[2,1,15,50,24,10]]"), text);
        QVERIFY(mended && mended == boxes);

        const QByteArray packed = boxes->packed(text);
        QCOMPARE(TextBoxes::unpacked(packed, text), boxes);
        QVERIFY(!TextBoxes::unpacked(packed, u"Total 1,281\n\n請求書"_s)); // another program has read it again
        for (qsizetype i = 0; i < packed.size(); ++i) {
            QByteArray damaged = packed;
            damaged[i] = char(damaged[i] ^ 0x55);
            const auto read = TextBoxes::unpacked(damaged, text);
            QVERIFY(!read || read == boxes);
        }

        addRow(u"one.png"_s);
        addRow(u"two.png"_s);
        const QByteArray box = R"([{\"box\":[1,2,30,4],\"words\":[[0,1,1,2,3,4]]}])";
        const QByteArray script = "while read -r p; do echo \"{\\\"path\\\": \\\"$p\\\", \\\"text\\\": \\\"t\\\", "
                                  "\\\"lines\\\": " +
                                  box + "}\"; done; [ \"$1\" = --boxes ] || echo helper: bad >&2";
        QCOMPARE(run(script), 2);
        QCOMPARE(m_batch.reason, QString());
        const QString kept = u"SELECT shot_id, length(boxes) > 0 FROM shot_boxes"_s;
        QCOMPARE(rows(*m_database, kept.toUtf8().constData(), 2), QStringList({u"1|1"_s, u"2|1"_s}));
        // Those of an older program are read again when they are asked for; nothing changes where that fails.
        QVERIFY(m_database->execute("DELETE FROM shot_boxes; UPDATE shots SET ocr_text = 'old'"));
        OcrRunner::readAgain(*m_database, m_home->file(u"helper"_s), 2);
        OcrRunner::readAgain(*m_database, m_home->script(u"fails"_s, "exit 1"), 1);
        QCOMPARE(rows(*m_database, kept.toUtf8().constData(), 2), QStringList(u"2|1"_s));
        QCOMPARE(rows(*m_database, "SELECT ocr_text, ocr_done FROM shots ORDER BY id", 2),
                 QStringList({u"old|1"_s, u"t|1"_s}));
        // They go with the shot, and with the text of a file that changes.
        QVERIFY(m_database->execute("INSERT INTO shot_boxes VALUES(1, x'00')"));
        QVERIFY(QFile::remove(m_home->file(u"one.png"_s)));
        FolderScan::scan(*m_database, {.named = {m_home->file(u"two.png"_s).toUtf8()}});
        QCOMPARE(rows(*m_database, kept.toUtf8().constData(), 2), QStringList());
    }

    void whatIsForgottenWhileItIsReadStaysSo()
    {
        addRow(u"one.png"_s);
        addRow(u"two.png"_s);
        const QString helper =
            m_home->script(u"helper"_s, R"(while read -r p; do printf '{"path": "%s", "text": "t", "lines": )"
                                        R"([{"box": [1,2,30,4], "words": [[0,1,1,2,3,4]]}]}\n' "$p"; done)");
        OcrRunner::run(*m_database, helper, 40, [this](int, int) {
            QCOMPARE(ShotEraser::forget(*m_database, {m_home->file(u"one.png"_s).toUtf8()}).forgotten, 1);
        });
        QCOMPARE(rows(*m_database, all, 3), QStringList({u"one.png|-|1"_s, u"two.png|t|1"_s}));
        QCOMPARE(rows(*m_database, "SELECT shot_id FROM shot_boxes", 1), QStringList(u"2"_s));
        OcrRunner::readAgain(*m_database, helper, 1);
        QCOMPARE(rows(*m_database, all, 3).first(), u"one.png|-|1"_s);
    }

    void reasonsAreKept()
    {
        addRow(u"bad.png"_s);
        addRow(u"one.png"_s);
        const auto failures = [this] {
            return rows(*m_database,
                        "SELECT filename, reason, since_ms > 1e12 FROM shot_failures JOIN shots ON id = shot_id", 3);
        };
        const QByteArray fails =
            "while read -r p; do case $p in *bad*) echo '{\"path\": \"'$p'\", \"error\": \"'$why'\"}';; "
            "*) text $p t;; esac; done";
        run("why=no; " + fails);
        QCOMPARE(failures(), QStringList(u"bad.png|no|1"_s));
        QVERIFY(m_batch.failed == 1 && m_batch.trouble == OcrRunner::Batch::Trouble::none);
        addRow(u"older.png"_s);
        QCOMPARE(run("why=no; " + fails, 1), 1); // others first, or bad ones would keep them waiting
        run("why=other; " + fails);
        QCOMPARE(failures(), QStringList(u"bad.png|other|1"_s));
        // Not the picture's fault.
        run("why=language; echo 'helper: no data' >&2; " + fails);
        QCOMPARE(failures(), QStringList(u"bad.png|other|1"_s));
        QCOMPARE(m_batch.reason, u"no data"_s);
        QCOMPARE(run("read -r p; text $p t"), 1);
        QCOMPARE(failures(), QStringList());
        addRow(u"last.png"_s);
        run("exit 1");
        QCOMPARE(m_batch.reason, u"it ended before it had answered"_s);
    }

    void theInputIsThePathsNewestFirst()
    {
        addRow(u"a b '\".png"_s);
        addRow(u"日本.png"_s);
        addRow(u"line\nfeed.png"_s); // would read as two
        addRow(u"beyond the limit.png"_s);
        run("cat >input; echo $* >arguments", 3);
        QCOMPARE(rows(*m_database, "SELECT filename FROM shots WHERE ocr_done", 1), QStringList(u"line\nfeed.png"_s));
        QCOMPARE(m_home->read(u"input"_s), (m_home->file(u"a b '\".png\n"_s) + m_home->file(u"日本.png\n"_s)).toUtf8());
        QCOMPARE(m_home->read(u"arguments"_s), QByteArray("--boxes\n"));
    }

    void withoutAHelperNothingIsTouched()
    {
        addRow(u"gone.png"_s, false);
        QCOMPARE(OcrRunner::run(*m_database, std::nullopt, 40).read, 0);
        QCOMPARE(rows(*m_database, all, 3), QStringList(u"gone.png|-|0"_s));
        QCOMPARE(run("touch started"), 0); // nor is one started for nothing
        QVERIFY(!QFile::exists(m_home->file(u"started"_s)));
        QCOMPARE(rows(*m_database, all, 3), QStringList(u"gone.png|-|1"_s));
        addRow(u"one.png"_s);
        QVERIFY(OcrRunner::run(*m_database, m_home->file(u"missing"_s), 40)
                    .reason.contains(u"missing"_s)); // one that cannot be started
        QVERIFY(rows(*m_database, all, 3).contains(u"one.png|-|0"_s));
    }

    void anotherProcessHasABatchInHand()
    {
        addRow(u"one.png"_s);
        const QByteArray lock = m_home->file(u".quillmere/reading.lock"_s).toUtf8();
        int locked[2];
        QVERIFY(pipe(locked) == 0);
        const pid_t other = fork();
        if (other == 0) {
            const bool holds = flock(open(lock.constData(), O_RDWR | O_CREAT, 0600), LOCK_EX) == 0;
            [[maybe_unused]] const ssize_t told = write(locked[1], &holds, 1);
            pause();
        }
        const auto end = qScopeGuard([other] {
            kill(other, SIGKILL);
            waitpid(other, nullptr, 0);
        });
        char holds = 0;
        QVERIFY(read(locked[0], &holds, 1) == 1 && holds);
        QCOMPARE(run(readsOne), 0);
        QVERIFY(kill(other, SIGKILL) == 0 && waitpid(other, nullptr, 0) == other); // its file stays behind
        QCOMPARE(run(readsOne), 1);
    }

    void aReaderInTheWayCostsNothingButTime()
    {
        addRow(u"one.png"_s);
        Database reader(m_database->path(), Database::Access::read);
        QVERIFY(reader.open());
        for (Database *database : {m_database.get(), &reader})
            QVERIFY(database->number("PRAGMA busy_timeout") > 0);
        {
            QVERIFY(m_database->execute("PRAGMA busy_timeout = 1"));
            Statement open = reader.prepare(IndexSql::recentShots);
            open.bind(1, 5);
            QVERIFY(open.nextRow());    // holds the file while it stands
            QCOMPARE(run(readsOne), 0); // the COMMIT fails, and must not leave its transaction open
        }
        Database other(m_database->path(), Database::Access::write);
        QVERIFY(other.open() && other.execute("BEGIN IMMEDIATE") && other.execute("COMMIT"));
        QCOMPARE(run(readsOne), 1);
        QCOMPARE(rows(reader, all, 3), QStringList(u"one.png|t|1"_s));
    }

    void progress()
    {
        addRow(u"one.png"_s);
        addRow(u"two.png"_s);
        QStringList seen;
        const QString helper = m_home->script(u"helper"_s, "read p; echo no; read p; echo no; echo more");
        OcrRunner::run(*m_database, helper, 40, [&](int done, int total) { seen << u"%1/%2"_s.arg(done).arg(total); });
        QCOMPARE(seen.last(), u"2/2"_s);
    }
};

QTEST_GUILESS_MAIN(tst_OcrRunner)
#include "tst_OcrRunner.moc"
