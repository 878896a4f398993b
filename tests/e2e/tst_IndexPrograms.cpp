#include "index/Database.h"
#include "index/IndexSql.h"
#include "index/ShotStore.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

using namespace qm;

// The real qms and quillmere, copied beside a helper of the test's own.
class tst_IndexPrograms : public QObject
{
    Q_OBJECT

private:
    struct Ran {
        int exitCode;
        QString output;
        QString error;
    };

    std::unique_ptr<TempHome> m_home;

    static constexpr char readsAll[] =
        "while read -r p; do printf '{\"path\": \"%s\", \"text\": \"total 請求書 %s\"}\\n' \"$p\""
        " \"${p##*/}\"; done";

    QString program(const QString &name) const { return m_home->file(QStringLiteral("bin/") + name); }
    void install(const QByteArray &helper)
    {
        m_home->script(QStringLiteral("bin/qmocr"), helper);
        for (const char16_t *name : {u"qms", u"quillmere"}) {
            const QString target = program(QString::fromUtf16(name));
            if (!QFile::exists(target))
                QVERIFY(QFile::copy(QStringLiteral(QM_PROGRAMS "/") + QString::fromUtf16(name), target));
        }
    }
    void addShots(int count)
    {
        for (int i = 0; i < count; ++i)
            m_home->write(
                QStringLiteral(".quillmere/captures/Quillmere 2026-03-05-14-07-%1.png").arg(i, 2, 10, QChar(u'0')),
                "x");
    }
    Ran qms(const QStringList &arguments)
    {
        QProcess process;
        process.start(program(QStringLiteral("qms")), arguments);
        process.waitForFinished(60000);
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
    }
    qint64 number(const char *sql)
    {
        Database reader(ShotStore::databasePath(), Database::Access::read);
        reader.open();
        return reader.number(sql);
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TempHome>();
        install(readsAll);
    }

    void fromScanToSearch()
    {
        addShots(45);
        QCOMPARE(qms({QStringLiteral("scan")}).output, QStringLiteral("45 new, 0 gone, 45 in the index\n"));
        QCOMPARE(qms({QStringLiteral("ocr")}).output, QStringLiteral("40 read, 5 still waiting\n"));
        QCOMPARE(qms({QStringLiteral("ocr"), QStringLiteral("--all"), QStringLiteral("--json")}).output,
                 QStringLiteral("{\"read\":5,\"waiting\":0}\n"));
        const Ran found = qms(
            {QStringLiteral("search"), QStringLiteral("TOTAL%請求"), QStringLiteral("--limit"), QStringLiteral("2")});
        QCOMPARE(found.exitCode, 0);
        QCOMPARE(found.output.count(u'\n'), 4);
        QVERIFY2(found.output.contains(QStringLiteral("2026-03-05 14:07:")) &&
                     found.output.contains(QStringLiteral("    total 請求書")),
                 qPrintable(found.output));
        const Ran listed = qms({QStringLiteral("list"), QStringLiteral("--json")});
        const QStringList lines = listed.output.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 45);
        const QJsonObject row = QJsonDocument::fromJson(lines.first().toUtf8()).object();
        QVERIFY(QFile::exists(row.value(u"path").toString()));
        QVERIFY(row.value(u"takenAt").toString().startsWith(QStringLiteral("2026-03-05T14:07:")));
        QVERIFY(QDir(m_home->file(QStringLiteral(".quillmere/captures"))).removeRecursively());
        QCOMPARE(qms({QStringLiteral("scan")}).output, QStringLiteral("0 new, 45 gone, 0 in the index\n"));
    }

    void exitCodes_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        const auto row = [](const char *arguments, int exitCode) {
            QTest::newRow(arguments) << QString::fromUtf8(arguments).split(u' ', Qt::SkipEmptyParts) << exitCode;
        };
        row("search nothing", 1);
        row("list", 1);
        row("status", 0);
        row("--help", 0);
        row("--version", 0);
        row("", 2);
        row("nonsense", 2);
        row("search", 2);
        row("search two words", 2);
        row("scan --limit no", 2);
        row("list --limit 0", 2);
        row("scan --all", 2);
        row("scan --nonsense", 2);
    }
    void exitCodes()
    {
        QFETCH(QStringList, arguments);
        const Ran ran = qms(arguments);
        QTEST(ran.exitCode, "exitCode");
        QCOMPARE(ran.error.isEmpty(), ran.exitCode != 2);
        QVERIFY(!QFile::exists(ShotStore::databasePath())); // asking makes no index
    }

    void failuresAreSaid()
    {
        QVERIFY(QFile::remove(program(QStringLiteral("qmocr"))));
        QCOMPARE(qms({QStringLiteral("ocr")}).exitCode, 2);
        m_home->write(QStringLiteral(".quillmere/db.sqlite"), QByteArray(5000, 'x'));
        for (const char16_t *command : {u"scan", u"list", u"status"}) {
            const Ran ran = qms({QString::fromUtf16(command)});
            QCOMPARE(ran.exitCode, 2);
            QVERIFY2(ran.error.contains(QStringLiteral("not a database")), qPrintable(ran.error));
        }
        QCOMPARE(m_home->read(QStringLiteral(".quillmere/db.sqlite")), QByteArray(5000, 'x'));
    }

    void picturesThatCannotBeReadAreNotReadForEver()
    {
        install("while read -r p; do printf '{\"path\": \"%s\", \"error\": \"no\"}\\n' \"$p\"; done");
        addShots(3);
        QCOMPARE(qms({QStringLiteral("scan")}).exitCode, 0);
        const Ran ran = qms({QStringLiteral("ocr"), QStringLiteral("--all")});
        QCOMPARE(ran.exitCode, 1);
        QCOMPARE(ran.output, QStringLiteral("0 read, 3 still waiting\n"));
    }

    void aSearchRecoversWhatAKilledWriterLeft()
    {
        addShots(3);
        qms({QStringLiteral("scan")});
        qms({QStringLiteral("ocr")});
        const pid_t writer = fork();
        if (writer == 0) {
            Database database(ShotStore::databasePath(), Database::Access::write);
            database.open();
            database.execute("PRAGMA cache_size = 1");
            database.execute("BEGIN");
            database.execute(
                "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 5000) INSERT INTO "
                "shots(path, filename, ocr_text, indexed_at) SELECT x, x, 'total', 'x' FROM c");
            kill(getpid(), SIGKILL);
        }
        int status = 0;
        waitpid(writer, &status, 0);
        QVERIFY(QFile::exists(ShotStore::databasePath() + QStringLiteral("-journal"))); // or this tests nothing
        const Ran ran = qms({QStringLiteral("search"), QStringLiteral("total")});
        QCOMPARE(ran.output.count(QStringLiteral("total")), 3);
    }

    void theApplicationIsKilledInTheMiddleOfABatch()
    {
        // Reads the first two, then waits to be killed.
        install("echo $$ >>${0%/*}/started; n=0; while read -r p; do n=$((n+1)); [ $n -le 2 ] || exec sleep 60;"
                " printf '{\"path\": \"%s\", \"text\": \"t\"}\\n' \"$p\"; done");
        addShots(5);
        QProcess application;
        application.start(program(QStringLiteral("quillmere")), {});
        QTRY_VERIFY_WITH_TIMEOUT(!m_home->read(QStringLiteral("bin/started")).isEmpty(), 30000);
        const pid_t helper = m_home->read(QStringLiteral("bin/started")).trimmed().toInt();
        application.kill();
        QVERIFY(application.waitForFinished(10000));
        QTRY_VERIFY_WITH_TIMEOUT(kill(helper, 0) != 0, 10000); // ended with its parent
        {
            Database database(ShotStore::databasePath(), Database::Access::write);
            QVERIFY(database.open());
            QCOMPARE(rows(database, "PRAGMA integrity_check", 1), QStringList(QStringLiteral("ok")));
            QCOMPARE(database.number(IndexSql::countShots), 5);
        }
        install(readsAll);
        application.start(program(QStringLiteral("quillmere")), {});
        QTRY_COMPARE_WITH_TIMEOUT(number(IndexSql::countRead), 5, 30000);
        application.terminate();
        QVERIFY(application.waitForFinished(10000));
    }
};

QTEST_GUILESS_MAIN(tst_IndexPrograms)
#include "tst_IndexPrograms.moc"
