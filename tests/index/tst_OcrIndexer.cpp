#include "index/IndexSql.h"
#include "index/IndexTrouble.h"
#include "index/OcrIndexer.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QTest>

#include <memory>
#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

extern "C" size_t __sanitizer_get_current_allocated_bytes(); // GCC comes without sanitizer/allocator_interface.h

// Bytes that this process has not freed.
static qint64 allocated()
{
#ifdef __SANITIZE_ADDRESS__
    return qint64(__sanitizer_get_current_allocated_bytes());
#elif defined __GLIBC__
    return qint64(mallinfo2().uordblks);
#else
    return 0;
#endif
}

// Every test runs in virtual time; only the folder's own events need the event loop.
class tst_OcrIndexer : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<ManualQueue> m_queue;
    std::shared_ptr<OcrIndexer> m_indexer;
    std::optional<QString> m_helper;

    QString databasePath() const { return m_home->file(u".quillmere/db.sqlite"_s); }
    void addShot(const QString &name) { m_home->write(u".quillmere/captures/"_s + name, "x"); }
    // Reads every picture but those whose name holds "bad", and notes each of its starts.
    void installHelper()
    {
        m_helper = m_home->script(u"helper"_s, "echo start >>${0%/*}/starts\n"
                                               "while read -r p; do case $p in *bad*) k=error;; *) k=text;; esac\n"
                                               "printf '{\"path\": \"%s\", \"%s\": \"t\"}\\n' \"$p\" $k; done");
    }
    void start()
    {
        m_indexer->start();
        m_queue->drain();
    }
    QString state() const // "rows, rows with text, batches so far"
    {
        Database reader(databasePath(), Database::Access::read);
        reader.open();
        const qint64 shots = reader.number(IndexSql::countShots), read = reader.number(IndexSql::countRead);
        return u"%1 %2 %3"_s.arg(shots).arg(read).arg(m_home->read(u"starts"_s).count('\n'));
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

    void batches()
    {
        using Moments =
            QList<std::pair<std::chrono::milliseconds, QString>>; // later than the one before; the state then
        const std::tuple<int, QString, QByteArray, Moments> rows[] = {
            {100,
             u"%1.png"_s,
             "",
             {{0ms, u"100 40 1"_s},
              {1499ms, u"100 40 1"_s},
              {1ms, u"100 80 2"_s},
              {1500ms, u"100 100 3"_s},
              {50s, u"100 100 3"_s}}},
            // One without a text is not tried again before the safety pass.
            {45, u"bad%1.png"_s, "", {{0ms, u"45 0 1"_s}, {59s, u"45 0 1"_s}, {1s, u"45 0 2"_s}}},
            {2, u"%1.png"_s, "{\"autoOcr\": false}", {{0ms, u"2 0 0"_s}, {60s, u"2 0 0"_s}}},
        };
        for (const auto &[count, name, settings, moments] : rows) {
            init();
            installHelper();
            m_home->write(u".quillmere/config.json"_s, settings);
            for (int i = 0; i < count; ++i)
                addShot(name.arg(i));
            m_indexer->start();
            QVERIFY(!QFile::exists(databasePath())); // not on the calling thread
            for (const auto &[later, expected] : moments) {
                m_queue->advance(later);
                QCOMPARE(state(), expected);
            }
        }
    }

    void progressIsTold()
    {
        installHelper();
        for (int i = 0; i < 41; ++i)
            addShot(u"%1.png"_s.arg(i));
        addShot(u"bad.png"_s);
        QList<ReadingProgress> told;
        m_indexer->tellProgress([&](const ReadingProgress &progress) { told << progress; });
        start();
        m_queue->advance(10s);
        QTRY_VERIFY(told.size() > 2 && told.last() == ReadingProgress());
        told.removeLast();
        QCOMPARE(told.first(), (ReadingProgress{0, 42}));
        QCOMPARE(told.last(), (ReadingProgress{42, 42}));
        for (qsizetype i = 1; i < told.size(); ++i)
            QVERIFY(told[i].total == 42 && told[i].done > told[i - 1].done);
        const qsizetype before = told.size();
        m_queue->advance(60s); // the one that failed is tried again
        QCoreApplication::processEvents();
        QCOMPARE(told.size(), before);
    }

    void oneDrainAtATime()
    {
        installHelper();
        for (int i = 0; i < 41; ++i)
            addShot(u"%1.png"_s.arg(i));
        start();
        m_queue->advance(1000ms);
        m_indexer->scheduleDrain(); // neither a second one nor a later one
        m_queue->advance(500ms);
        QCOMPARE(state(), u"41 41 2"_s);
        m_queue->advance(10s);
        QCOMPARE(state(), u"41 41 2"_s);
    }

    void theSafetyPassComesEveryMinute()
    {
        const QString folder = m_home->file(u".quillmere/captures"_s);
        start();
        const auto minuteAfter = [&](const QString &before, const QString &after) {
            m_queue->advance(59999ms);
            QCOMPARE(state(), before);
            m_queue->advance(1ms);
            QCOMPARE(state(), after);
        };
        addShot(u"1.png"_s);
        minuteAfter(u"0 0 0"_s, u"1 0 0"_s);
        installHelper(); // looked for again each time
        addShot(u"2.png"_s);
        minuteAfter(u"1 0 0"_s, u"2 2 1"_s);
        QVERIFY(QDir().rename(folder, m_home->file(u"moved"_s)));
        minuteAfter(u"2 2 1"_s, u"0 0 1"_s);
        addShot(u"3.png"_s);
        minuteAfter(u"0 0 1"_s, u"1 1 2"_s);
    }

    void aBurstOfChangesIsOnePass()
    {
        installHelper();
        start();
        for (int i = 0; i < 10; ++i) {
            addShot(u"%1.png"_s.arg(i));
            QTRY_VERIFY(m_queue->hasTasks()); // the watcher has told
            m_queue->advance(100ms);
            QCOMPARE(state(), u"0 0 0"_s);
        }
        m_queue->advance(1399ms);
        QCOMPARE(state(), u"0 0 0"_s);
        m_queue->advance(1ms);
        QCOMPARE(state(), u"10 10 1"_s);
        // A log on the desktop puts off nothing; a picture that grows puts off the others for a while.
        const std::tuple<QString, QString, std::chrono::milliseconds> rows[] = {
            {u"log.txt"_s, u"11 11 2"_s, 1500ms},
            {u"grows.png"_s, u"13 13 3"_s, 10s},
        };
        for (const auto &[grows, expected, longest] : rows) {
            const auto start = m_queue->now();
            addShot(u"beside %1.png"_s.arg(grows));
            while (state() != expected && m_queue->now() - start < 30s) {
                addShot(grows);
                QTRY_VERIFY(m_queue->hasTasks());
                m_queue->advance(500ms);
            }
            QCOMPARE(m_queue->now() - start, longest);
        }
    }

    // What Qt's watcher would not tell: a file written in place, and one that is replaced in a folder that came later.
    void whatIsWrittenInPlaceIsReadAgain()
    {
        installHelper();
        m_home->write(u".quillmere/config.json"_s, "{\"source\": \"~/later\"}");
        addShot(u"1.png"_s);
        m_home->setModified(u".quillmere/captures/1.png"_s, 1'000'000'000);
        start();
        QCOMPARE(state(), u"1 1 1"_s);
        const auto afterAPause = [this] {
            if (!QTest::qWaitFor([this] { return m_queue->hasTasks(); }))
                qFatal("nothing was told");
            m_queue->advance(1500ms);
            return state();
        };
        addShot(u"1.png"_s);
        QCOMPARE(afterAPause(), u"1 1 2"_s);
        m_home->write(u"later/2.png"_s, "x");
        m_indexer->settingsChanged(); // as if it had just been chosen
        m_queue->drain();
        QCOMPARE(state(), u"2 2 3"_s);
        m_home->write(u"later/2.png"_s, "longer");
        QCOMPARE(afterAPause(), u"2 2 4"_s);
        QVERIFY(QDir(m_home->file(u"later"_s)).removeRecursively());
        QCOMPARE(afterAPause(), u"2 2 4"_s); // it may be a drive that is away
        m_home->write(u"later/3.png"_s, "x");
        m_queue->advance(60s);
        QCOMPARE(state(), u"2 2 5"_s);
        m_home->write(u"later/3.png"_s, "longer");
        QCOMPARE(afterAPause(), u"2 2 6"_s);
    }

    void troubleIsRecorded()
    {
        addShot(u"1.png"_s);
        m_helper = m_home->script(u"helper"_s, "echo 'helper: no data' >&2");
        start();
        const std::optional<IndexTrouble> first = IndexTrouble::read();
        QVERIFY(first && first->kind == IndexTrouble::Kind::helper);
        QCOMPARE(first->reason, u"no data"_s);
        installHelper();
        m_queue->advance(60s);
        QVERIFY(!IndexTrouble::read());
    }

    void aDatabaseThatCannotBeOpenedKeepsTheIndexIdle()
    {
        m_home->write(u".quillmere/db.sqlite/in the way"_s, "x"); // a folder
        addShot(u"1.png"_s);
        start();
        QVERIFY(QDir(databasePath()).removeRecursively());
        m_queue->advance(120s);
        QVERIFY(!QFile::exists(databasePath())); // only a new start opens it
        QVERIFY(IndexTrouble::read()->kind == IndexTrouble::Kind::open);
    }

    void theSchemaIsTriedAgain()
    {
        m_home->write(u"Desktop/1.png"_s, "x");
        m_home->write(u".quillmere/captures"_s, "a file in the place of the folder");
        {
            Database other(databasePath(), Database::Access::write);
            QVERIFY(other.open());
            QVERIFY(other.execute("DROP TABLE shots"));
            QVERIFY(other.execute("BEGIN EXCLUSIVE"));
            start(); // waits out the busy time-out, and then has no table
            QVERIFY(other.execute("COMMIT"));
        }
        QCOMPARE(state(), u"0 0 0"_s);
        m_queue->advance(60s);
        QCOMPARE(state(), u"1 0 0"_s);
    }

    // A picture every half hour, many more that do not stay, and in the evening two thousand at once.
    void aDayLeavesNothingBehind()
    {
        installHelper();
        start();
        int shots = 0, passing = 0;
        const auto add = [&](int count) {
            for (const int end = passing + 20; passing < end; ++passing) {
                addShot(u"passing %1.png"_s.arg(passing));
                QFile::remove(m_home->file(u".quillmere/captures/passing %1.png"_s.arg(passing)));
            }
            for (const int end = shots + count; shots < end; ++shots)
                addShot(u"%1.png"_s.arg(shots));
            QVERIFY(QTest::qWaitFor([this] { return m_queue->hasTasks(); }));
            m_queue->advance(30min);
            QCoreApplication::processEvents(); // what the watch tells later
        };
        const auto descriptors = [] { return QDir(u"/proc/self/fd"_s).count(); };
        for (int i = 0; i < 6; ++i)
            add(1);
        const qint64 before = allocated();
        const auto openBefore = descriptors();
        for (int i = 0; i < 41; ++i)
            add(1);
        QVERIFY2(allocated() < before + 25'000, qPrintable(QString::number(allocated() - before)));
        QCOMPARE(descriptors(), openBefore);
        add(2000);
        QVERIFY2(state().startsWith(u"%1 %1 "_s.arg(shots)), qPrintable(state()));
    }

    void lateTasksOfAGoneIndexerDoNothing()
    {
        addShot(u"1.png"_s);
        m_indexer->start();
        m_indexer.reset();
        m_queue->advance(120s);
        QVERIFY(!QFile::exists(databasePath()));
    }
};

QTEST_GUILESS_MAIN(tst_OcrIndexer)
#include "tst_OcrIndexer.moc"
