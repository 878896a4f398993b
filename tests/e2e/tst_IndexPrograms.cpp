#include "index/Database.h"
#include "index/IndexSql.h"
#include "index/ShotStore.h"
#include "tests/support/FullDisk.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <poll.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace qm;
using namespace Qt::StringLiterals;

// The real qms and quillmere, copied beside a helper of the test's own.
class tst_IndexPrograms : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    QString m_output, m_error; // of the last run

    static constexpr char readsAll[] =
        "while read -r p; do printf '{\"path\": \"%s\", \"text\": \"total 請求書 %s\"}\\n' \"$p\" \"${p##*/}\"; done";

    QString program(const QString &name) const { return m_home->file(u"bin/"_s + name); }
    void addShots(int count)
    {
        for (int i = 0; i < count; ++i)
            m_home->write(u".quillmere/captures/Quillmere 2026-03-05-14-07-%1.png"_s.arg(i, 2, 10, QChar(u'0')), "x");
    }
    int qms(const QString &words, const QString &outputFile = {})
    {
        QProcess process;
        if (!outputFile.isEmpty())
            process.setStandardOutputFile(outputFile);
        process.start(program(u"qms"_s), words.split(u' ', Qt::SkipEmptyParts));
        process.waitForFinished(60000);
        m_output = QString::fromUtf8(process.readAllStandardOutput());
        m_error = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TempHome>();
        m_home->script(u"bin/qmocr"_s, readsAll);
        for (const QString &name : {u"qms"_s, u"quillmere"_s})
            QVERIFY(QFile::copy(QStringLiteral(QM_PROGRAMS "/") + name, program(name)));
    }

    void whatACaptureLeftIsTold()
    {
        const QString picture = m_home->file(u".quillmere/captures/a.png"_s);
        m_home->write(u".quillmere/captures/.a.png.unfinished"_s, "\x89PNG\r\n\x1a\n" + QByteArray(100, 'x'));
        QCOMPARE(qms(u"status"_s), 0);
        QVERIFY2(m_error.contains(picture), qPrintable(m_error));
        QVERIFY(QFile::exists(picture));
    }

    void fromScanToSearch()
    {
        addShots(45);
        QCOMPARE(qms(u"scan"_s), 0);
        QCOMPARE(m_output, u"45 new, 0 changed, 0 gone, 45 in the index\n"_s);
        qms(u"ocr"_s);
        QCOMPARE(m_output, u"40 read, 5 still waiting\n"_s);
        qms(u"ocr --all --json"_s);
        QCOMPARE(m_output, u"{\"failed\":0,\"read\":5,\"waiting\":0}\n"_s);
        QCOMPARE(qms(u"search TOTAL 請求 --limit 2"_s), 0);
        QCOMPARE(m_output.count(u'\n'), 4);
        QVERIFY2(m_output.contains(u"2026-03-05 14:07:"_s) && m_output.contains(u"    total 請求書"_s),
                 qPrintable(m_output));
        QCOMPARE(qms(u"list --json"_s), 0);
        QCOMPARE(m_output.count(u'\n'), 45);
        const QJsonObject row = QJsonDocument::fromJson(m_output.section(u'\n', 0, 0).toUtf8()).object();
        QVERIFY(QFile::exists(row.value(u"path").toString()));
        QVERIFY(row.value(u"takenAt").toString().startsWith(u"2026-03-05T14:07:"_s));
        QCOMPARE(qms(u"status --json"_s), 0);
        const QJsonObject status = QJsonDocument::fromJson(m_output.toUtf8()).object();
        QVERIFY(status.value(u"withText") == 45 && status.value(u"waiting") == 0);
        QCOMPARE(qms(u"list"_s, u"/dev/full"_s), 2);
        QVERIFY(QDir(m_home->file(u".quillmere/captures"_s)).removeRecursively());
        qms(u"scan"_s);
        QCOMPARE(m_output, u"0 new, 0 changed, 45 gone, 0 in the index\n"_s);
    }

    void whatIsForgottenIsNowhere()
    {
        addShots(3);
        qms(u"scan"_s);
        qms(u"ocr"_s);
        const QString folder = m_home->file(u".quillmere"_s), shot = u"/captures/Quillmere 2026-03-05-14-07-01.png"_s;
        const auto traces = [&] {
            int count = 0;
            for (const QString &name : {u"db.sqlite"_s, u"db.sqlite.form3"_s})
                count += int(m_home->read(u".quillmere/"_s + name).count("total 請求書 Quillmere 2026-03-05-14-07-01"));
            return count;
        };
        {
            Database database(ShotStore::databasePath(), Database::Access::write);
            QVERIFY(database.open() && database.execute("INSERT INTO shot_boxes VALUES(2, 'places')"));
            // SQLite leaves behind what it has removed or moved, unless it was built otherwise.
            QVERIFY(database.execute("PRAGMA secure_delete = OFF"));
            for (int i = 0; i < 9; ++i)
                database.execute("INSERT INTO shots(path, filename, indexed_at, ocr_text) SELECT max(id), '', '', "
                                 "ocr_text FROM shots WHERE path LIKE '%01.png' OR id > 3");
            QVERIFY(database.execute("DELETE FROM shots WHERE id > 3"));
            QVERIFY(QFile::copy(ShotStore::databasePath(), ShotStore::databasePath() + u".form3"_s));
        }
        QVERIFY(traces() > 2);                                 // SQLite leaves behind what it has moved
        QVERIFY(QFile::link(folder, m_home->file(u"link"_s))); // the name by which the user knows the folder
        QProcess forget;
        forget.start(program(u"qms"_s), {u"forget"_s, m_home->file(u"link"_s) + shot, u"/no/such.png"_s});
        QVERIFY(forget.waitForFinished(60000));
        QCOMPARE(forget.exitCode(), 1);
        QCOMPARE(forget.readAllStandardOutput(), "1 forgotten\n");
        QCOMPARE(forget.readAllStandardError(), "qms: not in the index: /no/such.png\n");
        QCOMPARE(traces(), 0);
        QCOMPARE(qms(u"search total"_s), 0);
        QCOMPARE(m_output.count(u"total"_s), 2);
        QCOMPARE(qms(u"list"_s), 0);
        QCOMPARE(m_output.count(u'\n'), 3);
        // It is read again only when it changes.
        qms(u"scan"_s);
        qms(u"ocr"_s);
        QCOMPARE(m_output, u"0 read, 0 still waiting\n"_s);
        m_home->write(u".quillmere"_s + shot, "changed");
        qms(u"scan"_s);
        qms(u"ocr"_s);
        QCOMPARE(m_output, u"1 read, 0 still waiting\n"_s);
    }

    void wrongUse()
    {
        QCOMPARE(qms(u"search nothing"_s), 1);
        QCOMPARE(qms(u"status"_s), 0);
        const std::pair<QString, QString> rows[] = {
            {u""_s, u"no command"_s},
            {u"nonsense"_s, u"no such command: nonsense"_s},
            {u"search"_s, u"wrong number of arguments to search"_s},
            {u"forget"_s, u"wrong number of arguments to forget"_s},
            {u"list words"_s, u"wrong number of arguments to list"_s},
            {u"scan --limit 3"_s, u"--limit can only be used"_s},
            {u"list --limit no"_s, u"--limit"_s},
            {u"list --limit 0"_s, u"--limit"_s},
            {u"scan --all"_s, u"--all"_s},
            {u"list --failed"_s, u"--failed"_s},
            {u"scan --nonsense"_s, u"Unknown option 'nonsense'"_s},
        };
        for (const auto &[words, error] : rows) {
            QCOMPARE(qms(words), 2);
            QVERIFY2(m_error.startsWith(u"qms: "_s + error), qPrintable(m_error));
        }
        QVERIFY(!QFile::exists(ShotStore::databasePath())); // asking makes no index
    }

    void failuresAreSaid()
    {
        QVERIFY(QFile::remove(program(u"qmocr"_s)));
        QCOMPARE(qms(u"ocr"_s), 2);
        m_home->write(u".quillmere/db.sqlite"_s, QByteArray(5000, 'x'));
        for (const QString &command : {u"scan"_s, u"list"_s, u"status"_s}) {
            QCOMPARE(qms(command), 2);
            QVERIFY2(m_error.contains(u"not a database"_s), qPrintable(m_error));
        }
        QCOMPARE(m_home->read(u".quillmere/db.sqlite"_s), QByteArray(5000, 'x'));
    }

    void askedToEndWhatHasBeenReadIsKept()
    {
        const std::pair<QString, QStringList> programs[] = {{u"qms"_s, {u"ocr"_s}}, {u"quillmere"_s, {}}};
        for (const auto &[name, words] : programs) {
            init();
            m_home->script(u"bin/qmocr"_s, "read -r p; printf '{\"path\": \"%s\", \"text\": \"t\"}\\n' \"$p\"\n"
                                           "touch ${0%/*}/read; exec sleep 60");
            addShots(3);
            QCOMPARE(qms(u"scan"_s), 0);
            QProcess process;
            process.start(program(name), words);
            QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_home->file(u"bin/read"_s)), 30000);
            process.terminate();
            QVERIFY(process.waitForFinished(20000));
            QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0, qPrintable(name));
            QCOMPARE(qms(u"search t"_s), 0);
        }
    }

    void aFullDiskIsSaid()
    {
        const auto isSaid = [this](int code) {
            return code == 2 && m_error.contains(QRegularExpression(u"could not be written.*disk"_s));
        };
        addShots(1);
        QCOMPARE(qms(u"scan"_s), 0);
        std::optional<FullDisk> full(std::in_place, rlim_t(QFileInfo(ShotStore::databasePath()).size()));
        QCOMPARE(qms(u"ocr"_s), 0); // there is room for one text
        full.reset();
        for (int i = 0; i < 99; ++i)
            m_home->write(u".quillmere/captures/%1 %2.png"_s.arg(i).arg(QString(200, u'x')), "x");
        full.emplace(rlim_t(QFileInfo(ShotStore::databasePath()).size()));
        QVERIFY2(isSaid(qms(u"scan"_s)), qPrintable(m_error));
        full.reset();
        QCOMPARE(qms(u"scan"_s), 0);
        m_home->script(u"bin/qmocr"_s, "touch ${0%/*}/../started");
        full.emplace(512); // not even a journal
        QVERIFY2(isSaid(qms(u"ocr"_s)), qPrintable(m_error));
        QVERIFY(!QFile::exists(m_home->file(u"started"_s))); // nothing was read in vain
    }

    void picturesThatCannotBeReadAreNotReadForEver()
    {
        m_home->script(u"bin/qmocr"_s,
                       "while read -r p; do printf '{\"path\": \"%s\", \"error\": \"no\"}\\n' \"$p\"; done");
        addShots(3);
        QCOMPARE(qms(u"scan"_s), 0);
        QCOMPARE(qms(u"ocr --all"_s), 1);
        QCOMPARE(qms(u"status --failed"_s), 0);
        QVERIFY2(m_output.count(u'\n') == 3 && m_output.contains(u"-14-07-02.png: no\n"_s), qPrintable(m_output));
        qms(u"ocr"_s);
        QCOMPARE(m_output, u"0 read, 3 still waiting, 3 of them cannot be read (see qms status --failed)\n"_s);
    }

    void aSearchRecoversWhatAKilledWriterLeft()
    {
        addShots(3);
        qms(u"scan"_s);
        qms(u"ocr"_s);
        if (fork() == 0) {
            Database database(ShotStore::databasePath(), Database::Access::write);
            database.open();
            database.execute("PRAGMA cache_size = 1");
            database.execute("BEGIN");
            database.execute(
                "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 5000) INSERT INTO "
                "shots(path, filename, ocr_text, indexed_at) SELECT x, x, 'total', 'x' FROM c");
            kill(getpid(), SIGKILL);
        }
        QVERIFY(wait(nullptr) > 0);
        QVERIFY(QFile::exists(ShotStore::databasePath() + u"-journal"_s)); // or this tests nothing
        qms(u"search total"_s);
        QCOMPARE(m_output.count(u"total"_s), 3);
    }

    void theApplicationIsKilledInTheMiddleOfABatch()
    {
        // Reads the first two, then waits to be killed.
        m_home->script(u"bin/qmocr"_s, "echo $$ >>${0%/*}/started; n=0\n"
                                       "while read -r p; do n=$((n+1)); [ $n -le 2 ] || exec sleep 60\n"
                                       "printf '{\"path\": \"%s\", \"text\": \"t\"}\\n' \"$p\"; done");
        addShots(5);
        QProcess application;
        application.start(program(u"quillmere"_s), {});
        QTRY_VERIFY_WITH_TIMEOUT(!m_home->read(u"bin/started"_s).isEmpty(), 30000);
        const pid_t helper = m_home->read(u"bin/started"_s).trimmed().toInt();
        application.kill();
        QVERIFY(application.waitForFinished(10000));
        QTRY_VERIFY_WITH_TIMEOUT(kill(helper, 0) != 0, 10000); // ended with its parent
        Database database(ShotStore::databasePath(), Database::Access::write);
        QVERIFY(database.open());
        QCOMPARE(rows(database, "PRAGMA integrity_check", 1), QStringList(u"ok"_s));
        QCOMPARE(database.number(IndexSql::countShots), 5);
        m_home->script(u"bin/qmocr"_s, readsAll);
        application.start(program(u"quillmere"_s), {});
        QTRY_COMPARE_WITH_TIMEOUT(database.number(IndexSql::countRead), 5, 30000);
        application.terminate();
        QVERIFY(application.waitForFinished(10000));
    }

    // As a helper does that was being started when its program was killed.
    void aLockForAMomentIsWaitedFor()
    {
        addShots(1);
        QCOMPARE(qms(u"scan"_s), 0);
        const QByteArray path = m_home->file(u".quillmere/reading.lock"_s).toUtf8();
        const int lock = open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600), seen = inotify_init1(IN_CLOEXEC);
        QVERIFY(flock(lock, LOCK_EX) == 0 && inotify_add_watch(seen, path.constData(), IN_CLOSE) >= 0);
        QProcess process;
        process.start(program(u"qms"_s), {u"ocr"_s});
        pollfd asked = {seen, POLLIN, 0};
        QCOMPARE(poll(&asked, 1, 30000), 1); // it has asked once, in vain
        close(lock);
        close(seen);
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
    }

    void killedAtAnyMoment()
    {
        const int kills = std::max(20, qEnvironmentVariableIntValue("QM_KILLS"));
        QRandomGenerator random(7);
        Database database(ShotStore::databasePath(), Database::Access::write);
        QVERIFY(database.open());
        QElapsedTimer clock;
        clock.start();
        qms(u"scan"_s);
        const int usual = int(clock.elapsed()); // ms
        qint64 shots = 0, texts = 0;
        int killed = 0;
        for (int i = 0; i < kills; ++i) {
            m_home->write(u".quillmere/captures/%1.png"_s.arg(i), "x");
            QProcess process;
            process.start(program(u"qms"_s), {random.bounded(2) ? u"scan"_s : u"ocr"_s});
            process.waitForFinished(int(random.bounded(2 * usual)));
            process.kill();
            process.waitForFinished(-1);
            killed += process.exitStatus() == QProcess::CrashExit ? 1 : 0;
            // What was in stays in.
            QVERIFY(database.number(IndexSql::countShots) >=
                    std::exchange(shots, database.number(IndexSql::countShots)));
            QVERIFY(database.number(IndexSql::countRead) >= std::exchange(texts, database.number(IndexSql::countRead)));
        }
        QVERIFY2(killed > 0 && shots > 0, qPrintable(u"%1 of %2 killed, %3 rows"_s.arg(killed).arg(kills).arg(shots)));
        QCOMPARE(qms(u"scan"_s), 0);
        QVERIFY2(qms(u"ocr --all"_s) == 0, qPrintable(m_error));
        QCOMPARE(rows(database, "PRAGMA integrity_check", 1), QStringList(u"ok"_s));
        QCOMPARE(database.number(IndexSql::countShots), kills);
        QCOMPARE(database.number(IndexSql::countRead), kills);
    }
};

QTEST_GUILESS_MAIN(tst_IndexPrograms)
#include "tst_IndexPrograms.moc"
