#include "config/ConfigStore.h"
#include "index/IndexSql.h"
#include "index/OcrIndexer.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QTest>

#include <memory>

using namespace qm;
using namespace std::chrono_literals;

// Every test runs in virtual time; only the folder's own events need the event loop.
class tst_OcrIndexer : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<ManualQueue> m_queue;
    std::shared_ptr<OcrIndexer> m_indexer;
    std::optional<QString> m_helper;

    QString databasePath() const { return m_home->file(QStringLiteral(".quillmere/db.sqlite")); }
    void addShot(const QString &name) { m_home->write(QStringLiteral(".quillmere/captures/") + name, "x"); }
    void addShots(int count)
    {
        for (int i = 0; i < count; ++i)
            addShot(QStringLiteral("%1.png").arg(i));
    }
    // Reads every picture but those whose name holds "bad", and notes each of its starts.
    void installHelper()
    {
        m_helper = m_home->script(QStringLiteral("helper"),
                                  "echo start >>${0%/*}/starts\n"
                                  "while read -r p; do case $p in *bad*) k=error;; *) k=text;; esac\n"
                                  "printf '{\"path\": \"%s\", \"%s\": \"t\"}\\n' \"$p\" $k; done");
    }
    void start()
    {
        m_indexer->start();
        m_queue->drain();
    }
    // "rows, rows with text, batches so far"
    QString state() const
    {
        Database reader(databasePath(), Database::Access::read);
        reader.open();
        return QStringLiteral("%1 %2 %3")
            .arg(reader.number(IndexSql::countShots))
            .arg(reader.number(IndexSql::countRead))
            .arg(m_home->read(QStringLiteral("starts")).count('\n'));
    }

private Q_SLOTS:
    void init()
    {
        m_indexer.reset();
        m_home = std::make_unique<TempHome>();
        m_queue = std::make_unique<ManualQueue>();
        m_helper.reset();
        m_indexer = std::make_shared<OcrIndexer>(*m_queue, databasePath(), [this] { return m_helper; });
    }

    void startScansAndReads()
    {
        installHelper();
        for (const char16_t *name : {u"Desktop/1.png", u"Desktop/2.png", u"Desktop/3.png"})
            m_home->write(QString::fromUtf16(name), "x");
        m_indexer->start();
        QVERIFY(!QFile::exists(databasePath())); // not on the calling thread
        m_queue->drain();
        QCOMPARE(state(), QStringLiteral("3 3 1"));
        const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(databasePath()) & others));
        QVERIFY(!(QFile::permissions(m_home->file(QStringLiteral(".quillmere"))) &
                  (others | QFile::ExeGroup | QFile::ExeOther)));
    }

    void waitingPicturesAreReadInBatches()
    {
        installHelper();
        addShots(100);
        start();
        QCOMPARE(state(), QStringLiteral("100 40 1"));
        m_queue->advance(1499ms);
        QCOMPARE(state(), QStringLiteral("100 40 1"));
        m_queue->advance(1ms);
        QCOMPARE(state(), QStringLiteral("100 80 2"));
        m_queue->advance(1500ms);
        QCOMPARE(state(), QStringLiteral("100 100 3"));
        m_queue->advance(50s);
        QCOMPARE(state(), QStringLiteral("100 100 3")); // nothing waits, so no drain was queued
    }

    void aBatchWithoutATextEndsTheDrain()
    {
        installHelper();
        for (int i = 0; i < 45; ++i)
            addShot(QStringLiteral("bad%1.png").arg(i));
        start();
        m_queue->advance(59s);
        QCOMPARE(state(), QStringLiteral("45 0 1"));
        m_queue->advance(1s); // until the safety pass
        QCOMPARE(state(), QStringLiteral("45 0 2"));
    }

    void oneDrainAtATime()
    {
        installHelper();
        addShots(41);
        start();
        m_queue->advance(1000ms);
        m_indexer->scheduleDrain(); // neither a second one nor a later one
        m_queue->advance(500ms);
        QCOMPARE(state(), QStringLiteral("41 41 2"));
        m_queue->advance(10s);
        QCOMPARE(state(), QStringLiteral("41 41 2"));
    }

    void theSafetyPassComesEveryMinute()
    {
        start();
        for (int minute = 1; minute <= 3; ++minute) {
            addShot(QStringLiteral("%1.png").arg(minute));
            m_queue->advance(59999ms);
            QCOMPARE(state(), QStringLiteral("%1 0 0").arg(minute - 1));
            m_queue->advance(1ms);
            QCOMPARE(state(), QStringLiteral("%1 0 0").arg(minute));
        }
    }

    void autoOcr_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<QString>("expected");
        QTest::newRow("false: scanned, not read") << QByteArray("{\"autoOcr\": false}") << QStringLiteral("2 0 0");
        QTest::newRow("a text is not a false") << QByteArray("{\"autoOcr\": \"false\"}") << QStringLiteral("2 2 1");
        QTest::newRow("corrupt settings") << QByteArray("{\"autoOcr\": fal") << QStringLiteral("2 2 1");
    }
    void autoOcr()
    {
        QFETCH(QByteArray, settings);
        installHelper();
        m_home->write(QStringLiteral(".quillmere/config.json"), settings);
        addShots(2);
        start();
        QTEST(state(), "expected");
    }

    void aMissingHelperIsLookedForAgain()
    {
        addShots(2);
        start();
        QCOMPARE(state(), QStringLiteral("2 0 0"));
        installHelper();
        m_queue->advance(60s);
        QCOMPARE(state(), QStringLiteral("2 2 1"));
    }

    void aBurstOfChangesIsOnePass()
    {
        installHelper();
        start();
        for (int i = 0; i < 10; ++i) {
            addShot(QStringLiteral("%1.png").arg(i));
            QTRY_VERIFY(m_queue->hasTasks()); // the watcher has told
            m_queue->advance(100ms);
            QCOMPARE(state(), QStringLiteral("0 0 0"));
        }
        m_queue->advance(1399ms);
        QCOMPARE(state(), QStringLiteral("0 0 0"));
        m_queue->advance(1ms);
        QCOMPARE(state(), QStringLiteral("10 10 1"));
    }

    void theWatchedFolderGoesAway()
    {
        installHelper();
        addShots(2);
        start();
        const QString folder = m_home->file(QStringLiteral(".quillmere/captures"));
        QVERIFY(QDir().rename(folder, m_home->file(QStringLiteral("moved"))));
        m_queue->advance(60s);
        QCOMPARE(state(), QStringLiteral("0 0 1"));
        addShots(3);
        m_queue->advance(60s);
        QCOMPARE(state(), QStringLiteral("3 3 2"));
    }

    void aCaptureFolderThatIsAFile()
    {
        m_home->write(QStringLiteral(".quillmere/captures"), "in the way");
        m_home->write(QStringLiteral("Desktop/a.png"), "x");
        start();
        QCOMPARE(state(), QStringLiteral("1 0 0"));
        QCOMPARE(m_home->read(QStringLiteral(".quillmere/captures")), QByteArray("in the way"));
    }

    void aDatabaseThatIsNone()
    {
        m_home->write(QStringLiteral(".quillmere/db.sqlite"), QByteArray(5000, 'x'));
        addShots(1);
        start();
        m_queue->advance(60s);
        QCOMPARE(m_home->read(QStringLiteral(".quillmere/db.sqlite")), QByteArray(5000, 'x'));
        QVERIFY(QFile::remove(databasePath()));
    }

    void aDatabaseThatCannotBeOpenedKeepsTheIndexIdle()
    {
        m_home->write(QStringLiteral(".quillmere/db.sqlite/in the way"), "x"); // a folder
        addShots(1);
        start();
        QVERIFY(QDir(databasePath()).removeRecursively());
        m_queue->advance(120s);
        QVERIFY(!QFile::exists(databasePath())); // only a new start opens it
    }

    void theSchemaIsTriedAgain()
    {
        addShots(1);
        {
            Database other(databasePath(), Database::Access::write);
            QVERIFY(other.open());
            QVERIFY(other.execute("DROP TABLE shots"));
            QVERIFY(other.execute("BEGIN EXCLUSIVE"));
            start(); // waits out the busy time-out, and then has no table
            QVERIFY(other.execute("COMMIT"));
        }
        QCOMPARE(state(), QStringLiteral("0 0 0"));
        m_queue->advance(60s);
        QCOMPARE(state(), QStringLiteral("1 0 0"));
    }

    void lateTasksOfAGoneIndexerDoNothing()
    {
        addShots(1);
        m_indexer->start();
        m_indexer.reset();
        m_queue->advance(120s);
        QVERIFY(!QFile::exists(databasePath()));
    }
};

QTEST_GUILESS_MAIN(tst_OcrIndexer)
#include "tst_OcrIndexer.moc"
