#include "index/IndexSql.h"
#include "index/OcrRunner.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/TempHome.h"

#include <QLockFile>
#include <QTest>

#include <memory>

using namespace qm;

static constexpr char all[] = "SELECT filename, ocr_text, ocr_done FROM shots ORDER BY mtime_ms DESC";

class tst_OcrRunner : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<Database> m_database;

    // One row, newest first in order of the calls.
    void addRow(const QString &name, bool present = true)
    {
        const QString path = m_home->file(name);
        if (present)
            m_home->write(name, "x");
        Statement insert = m_database->prepare(IndexSql::insertShot);
        insert.bind(1, path);
        insert.bind(2, name);
        insert.bind(3, qint64(1));
        insert.bind(4, qint64(1000 - m_database->number(IndexSql::countShots)));
        insert.bind(5, QStringLiteral("then"));
        insert.bind(6, QStringLiteral("now"));
        QVERIFY(insert.run());
    }
    int run(const QByteArray &helper, int limit = 40)
    {
        const QByteArray text = "text() { printf '{\"path\": \"%s\", \"text\": \"%s\"}\\n' \"$1\" \"$2\"; }\n";
        return OcrRunner::run(*m_database, m_home->script(QStringLiteral("helper"), "cd ${0%/*}\n" + text + helper),
                              limit);
    }

private Q_SLOTS:
    void init()
    {
        m_database.reset();
        m_home = std::make_unique<TempHome>();
        m_database =
            std::make_unique<Database>(m_home->file(QStringLiteral(".quillmere/db.sqlite")), Database::Access::write);
        QVERIFY(m_database->open());
    }

    void helpers_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("stored");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char *name, const char *script, int stored, const char *one, const char *two) {
            QTest::newRow(name) << QByteArray(script) << stored
                                << QStringList({QString::fromUtf8(one), QStringLiteral("gone.png|-|1"),
                                                QString::fromUtf8(two)});
        };
        // The three rows are one.png, gone.png (no file) and two.png.
        row("reads both", "while read -r p; do text \"$p\" \"日本 ${p##*/}\"; done", 2, "one.png|日本 one.png|1",
            "two.png|日本 two.png|1");
        row("in another order, with blanks and empty lines",
            "read -r a; read -r b; echo; printf '  '; text \"$b\" ''; text \"$a\" t", 2, "one.png|t|1", "two.png||1");
        row("an error beats a text, a later line an earlier one",
            "read -r a; read -r b; text \"$a\" 't\",\"error\":null,\"x\":\"'; text \"$b\" first; text \"$b\" last", 1,
            "one.png|-|0", "two.png|last|1");
        row("the second half never comes", "read -r a; text \"$a\" t; printf '{\"path\": \"'; kill -9 $$", 1,
            "one.png|t|1", "two.png|-|0");
        row("rubbish",
            "read -r p; echo '[1]'; echo '{\"path\": 7, \"text\": \"t\"}'; echo '{\"text\": \"t\"}'; echo no", 0,
            "one.png|-|0", "two.png|-|0");
        row("text of the wrong type", "read -r p; echo \"{\\\"path\\\": \\\"$p\\\", \\\"text\\\": 5}\"", 0,
            "one.png|-|0", "two.png|-|0");
        row("not UTF-8 anywhere", "read -r a; text \"$a\" t; printf '\\377\\n'", 0, "one.png|-|0", "two.png|-|0");
        row("paths nobody asked for", "text /etc/other.png t", 0, "one.png|-|0", "two.png|-|0");
        row("exits at once", "exit 1", 0, "one.png|-|0", "two.png|-|0");
    }
    void helpers()
    {
        QFETCH(QByteArray, script);
        addRow(QStringLiteral("one.png"));
        addRow(QStringLiteral("gone.png"), false);
        addRow(QStringLiteral("two.png"));
        QTEST(run(script), "stored");
        QTEST(rows(*m_database, all, 3), "expected");
    }

    void theInputIsThePathsNewestFirst()
    {
        addRow(QStringLiteral("a b '\".png"));
        addRow(QStringLiteral("日本.png"));
        addRow(QStringLiteral("line\nfeed.png")); // would read as two
        addRow(QStringLiteral("beyond the limit.png"));
        run("cat >input; echo $# >arguments", 3);
        QCOMPARE(m_home->read(QStringLiteral("input")), (m_home->file(QStringLiteral("a b '\".png")) + u'\n' +
                                                         m_home->file(QStringLiteral("日本.png")) + u'\n')
                                                            .toUtf8());
        QCOMPARE(m_home->read(QStringLiteral("arguments")), QByteArray("0\n"));
    }

    void withoutAHelperNothingIsTouched()
    {
        addRow(QStringLiteral("gone.png"), false);
        QCOMPARE(OcrRunner::run(*m_database, std::nullopt, 40), 0);
        QCOMPARE(rows(*m_database, all, 3), QStringList(QStringLiteral("gone.png|-|0")));
        QCOMPARE(OcrRunner::run(*m_database, m_home->file(QStringLiteral("missing")), 40),
                 0); // one that cannot be started
        QCOMPARE(rows(*m_database, all, 3), QStringList(QStringLiteral("gone.png|-|1")));
    }

    void theHelperIsNotStartedForNothing()
    {
        addRow(QStringLiteral("gone.png"), false);
        run("touch started");
        QVERIFY(m_home->read(QStringLiteral("started")).isNull());
        QVERIFY(!QFile::exists(m_home->file(QStringLiteral("started"))));
    }

    void anotherProcessHasABatchInHand()
    {
        addRow(QStringLiteral("one.png"));
        const QByteArray reads = "read -r p; text \"$p\" t";
        {
            QLockFile other(m_home->file(QStringLiteral(".quillmere/ocr.lock")));
            QVERIFY(other.tryLock());
            QCOMPARE(run(reads), 0);
        }
        QCOMPARE(run(reads), 1);
    }

    void aReaderInTheWayCostsNothingButTime()
    {
        addRow(QStringLiteral("one.png"));
        const QByteArray reads = "read -r p; text \"$p\" t";
        Database reader(m_database->path(), Database::Access::read);
        QVERIFY(reader.open());
        {
            QVERIFY(m_database->execute("PRAGMA busy_timeout = 1"));
            Statement open = reader.prepare(IndexSql::recentShots);
            open.bind(1, 5);
            QVERIFY(open.nextRow()); // holds the file while it stands
            QCOMPARE(run(reads), 0); // the COMMIT fails, and must not leave its transaction open
        }
        QCOMPARE(run(reads), 1);
        QCOMPARE(rows(reader, all, 3), QStringList(QStringLiteral("one.png|t|1")));
    }

    void progress()
    {
        addRow(QStringLiteral("one.png"));
        addRow(QStringLiteral("two.png"));
        QStringList seen;
        OcrRunner::run(
            *m_database,
            m_home->script(QStringLiteral("helper"), "while read -r p; do echo no; sleep 0.05; done; echo more"), 40,
            [&](int done, int total) { seen << QStringLiteral("%1/%2").arg(done).arg(total); });
        QVERIFY2(seen.contains(QStringLiteral("1/2")) && seen.last() == QStringLiteral("2/2"),
                 qPrintable(seen.join(u' ')));
    }
};

QTEST_GUILESS_MAIN(tst_OcrRunner)
#include "tst_OcrRunner.moc"
