#include "index/Database.h"
#include "index/IndexSql.h"
#include "index/ShotReader.h"
#include "index/ShotStore.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/TempHome.h"

#include <QFile>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

// The store's path is computed once per process, so there is one home for all of it; the order of the slots matters.
class tst_ShotStore : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;

private Q_SLOTS:
    void withoutADatabaseNothingIsFoundOrMade()
    {
        const SearchResult none = ShotStore::search(u"a"_s, 200);
        QVERIFY(none.shots.isEmpty() && !none.failed && ShotStore::version());
        QVERIFY(!QFile::exists(ShotStore::databasePath()));
    }

    void theNextCallFindsANewDatabase()
    {
        Database writer(ShotStore::databasePath(), Database::Access::write);
        QVERIFY(writer.open());
        QVERIFY(!(QFile::permissions(writer.path()) & (QFile::ReadGroup | QFile::ReadOther)));
        QVERIFY(writer.execute(
            "INSERT INTO shots(id, path, filename, mtime_ms, taken_at, ocr_text, ocr_done, indexed_at) VALUES"
            "(7, '/a', 'latin', 30, '2024-05-01T09:30:15', 'Grüße ABC 100%', 1, 'x'),"
            "(8, '/b', 'japanese', 20, NULL, '請求書の合計_金額', 1, 'x'),"
            "(9, '/c', 'unread', 40, NULL, NULL, 0, 'x'),"
            "(9000000000, '/d', 'empty', 10, NULL, '', 1, 'x')"));
        const QList<Shot> recent = ShotStore::recent(3).shots;
        QCOMPARE(recent, QList<Shot>({{9, u"/c"_s, u"unread"_s, {}, {}},
                                      {7, u"/a"_s, u"latin"_s, u"2024-05-01T09:30:15"_s, u"Grüße ABC 100%"_s},
                                      {8, u"/b"_s, u"japanese"_s, {}, u"請求書の合計_金額"_s}}));
        QCOMPARE(ShotStore::recent(200).shots.last(), (Shot{9000000000, u"/d"_s, u"empty"_s, {}, u""_s}));
    }

    void searches()
    {
        const std::pair<QString, QString> rows[] = {
            {u"aBc"_s, u"latin"_s},
            {u"GRÜSSE"_s, u""_s}, // other letters only as they are
            {u"請%金額"_s, u"japanese"_s},
            {u"書_合計__額"_s, u"japanese"_s},
            {u""_s, u"latin japanese empty"_s},
            {u"' OR 1=1 --"_s, u""_s},
            {QString(60000, u'a'), u""_s},   // too long to be a pattern
            {u"Grüße \n ABC"_s, u"latin"_s}, // broken into lines elsewhere
            {u"書\t金額"_s, u"japanese"_s},
            {u"100% Grüße"_s, u"latin, by words"_s},
            {u"金額\u3000請求書 japan"_s, u"japanese, by words"_s}, // one of them in its name
            {u"read un%d"_s, u"unread, by words"_s},                // all of them, and no text
            {u"ABC 請求書"_s, u""_s},
        };
        for (const auto &[text, expected] : rows) {
            QStringList found;
            const SearchResult result = ShotStore::search(text, 200);
            for (const Shot &shot : result.shots)
                found << shot.filename;
            QVERIFY(!result.failed);
            QCOMPARE(found.join(u' ') + (result.match == SearchResult::Match::words ? u", by words"_s : QString()),
                     expected);
        }
    }

    // What happens to the file under an open connection. Each state is told from the one before by the version.
    void theFileChanges()
    {
        const QString path = m_home.file(u"changes/db.sqlite"_s);
        ShotReader reader(path);
        std::optional<qint64> before;
        const auto state = [&] { // changed, names; or that it failed
            const std::optional<qint64> version = reader.version();
            const bool changed = std::exchange(before, version) != version;
            const SearchResult result = reader.recent(9);
            if (result.failed)
                return u"failed"_s;
            return u"%1 %2"_s.arg(changed ? u"changed"_s : u"same"_s).arg(result.shots.size());
        };
        m_home.write(u"changes/db.sqlite"_s, {}); // its writer has only just made it
        QCOMPARE(state(), u"changed 0"_s);
        auto writer = std::make_unique<Database>(path, Database::Access::write);
        QVERIFY(writer->open());
        QVERIFY(addRow(*writer, u"/a"_s, 1));
        QCOMPARE(state(), u"changed 1"_s);
        QCOMPARE(state(), u"same 1"_s);
        QVERIFY(addRow(*writer, u"/b"_s, 2));
        QCOMPARE(state(), u"changed 2"_s);
        QVERIFY(QFile::rename(path, path + u".away"_s));
        QCOMPARE(state(), u"same 2"_s);
        {
            Database other(path, Database::Access::write);
            QVERIFY(other.open());
        }
        QCOMPARE(state(), u"changed 0"_s);
        m_home.write(u"changes/db.sqlite"_s, QByteArray(8192, 'x'));
        QCOMPARE(state(), u"failed"_s);
        QVERIFY(QFile::remove(path) && QFile::rename(path + u".away"_s, path));
        QCOMPARE(state(), u"changed 2"_s);
    }

    void indexesOfOtherAges()
    {
        const QString path = m_home.file(u"old/db.sqlite"_s), copy = path + u".form0"_s;
        m_home.write(u"old/none"_s, "");
        QVERIFY(QFile::copy(QStringLiteral(QM_TEST_DATA "/home-0.1/db.sqlite"), path));
        const auto texts = [](Database &database) {
            return rows(database, "SELECT id, filename, taken_at, ocr_text, ocr_done FROM shots ORDER BY id", 5)
                .join(u'\n');
        };
        const QString written = u"1|plain.png|2026-11-20T10:00:00Z|Quarterly report|1\n"
                                "2|Screenshot from 2026-11-22 09-48-06.png|2026-11-22T09:48:06|Invoice total 4417|1"_s;
        {
            Database today(path, Database::Access::write);
            QVERIFY(today.open());
            QCOMPARE(texts(today), written);
            QCOMPARE(today.number("SELECT COUNT(*) FROM shot_failures"), 0);
            for (const char *asked :
                 {IndexSql::countWaiting, IndexSql::waiting}) { // every minute: no walk past all texts
                const QByteArray plan = QByteArray("EXPLAIN QUERY PLAN ") + asked;
                QVERIFY(rows(today, plan.constData(), 4).join(u' ').contains(u"INDEX idx_shots_waiting"_s));
            }
            QVERIFY(!QFile::exists(copy));
        }
        {
            Database next(path, Database::Access::write, 3);
            QVERIFY(next.open());
            QCOMPARE(texts(next), written);
            Database kept(copy, Database::Access::read);
            QVERIFY(kept.open());
            QCOMPARE(texts(kept), written);
            QVERIFY(!(QFile::permissions(copy) & (QFile::ReadGroup | QFile::ReadOther)));
        }
        const QByteArray before = m_home.read(u"old/db.sqlite"_s);
        for (const Database::Access access : {Database::Access::write, Database::Access::read}) {
            Database older(path, access);
            QVERIFY(!older.open() && !older.isOpen());
            QVERIFY(older.error().contains(u"newer version"_s));
        }
        QCOMPARE(m_home.read(u"old/db.sqlite"_s), before);
    }

    void statementsStopAtTheFirstRefusal()
    {
        Database database(m_home.file(u"t.sqlite"_s), Database::Access::write);
        QVERIFY(database.open());
        Statement inert = database.prepare("INSERT INTO nowhere VALUES(?)");
        inert.bind(1, 5);
        QVERIFY(inert.run() && !inert.nextRow());
        QVERIFY(database.error().contains(u"nowhere"_s));
        Statement refused = database.prepare("INSERT INTO shots(path) VALUES(?)");
        QVERIFY(!refused.run()); // NOT NULL
    }
};

QTEST_GUILESS_MAIN(tst_ShotStore)
#include "tst_ShotStore.moc"
