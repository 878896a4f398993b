#include "index/IndexSql.h"
#include "index/ShotReader.h"
#include "index/ShotStore.h"
#include "tests/support/TempHome.h"

#include <QFile>
#include <QTest>

#include <cstring>

using namespace qm;

// The store's path is computed once per process, so there is one home for all of it; the order of the slots matters.
class tst_ShotStore : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;

    QStringList found(const QString &text, int limit = 200)
    {
        QStringList names;
        for (const Shot &shot : ShotStore::search(text, limit))
            names << shot.filename;
        return names;
    }

private Q_SLOTS:
    void withoutADatabaseNothingIsFoundOrMade()
    {
        QCOMPARE(ShotStore::search(QStringLiteral("a"), 200), QList<Shot>());
        QCOMPARE(ShotStore::recent(200), QList<Shot>());
        QVERIFY(!QFile::exists(ShotStore::databasePath()));
    }

    void theNextCallFindsANewDatabase()
    {
        Database writer(ShotStore::databasePath(), Database::Access::write);
        QVERIFY(writer.open());
        QVERIFY(writer.execute(
            "INSERT INTO shots(id, path, filename, mtime_ms, taken_at, ocr_text, ocr_done, indexed_at) VALUES"
            "(7, '/a', 'latin', 30, '2024-05-01T09:30:15', 'Grüße ABC 100%', 1, 'x'),"
            "(8, '/b', 'japanese', 20, NULL, '請求書の合計_金額', 1, 'x'),"
            "(9, '/c', 'unread', 40, NULL, NULL, 0, 'x'),"
            "(9000000000, '/d', 'empty', 10, NULL, '', 1, 'x')"));
        const QList<Shot> recent = ShotStore::recent(200);
        QCOMPARE(recent.size(), 4);
        QCOMPARE(recent[1], (Shot{7, QStringLiteral("/a"), QStringLiteral("latin"),
                                  QStringLiteral("2024-05-01T09:30:15"), QStringLiteral("Grüße ABC 100%")}));
        QCOMPARE(recent[0], (Shot{9, QStringLiteral("/c"), QStringLiteral("unread"), std::nullopt, std::nullopt}));
        QCOMPARE(recent[3].id, 9000000000);
        QCOMPARE(recent[3].ocrText, std::optional(QString(QLatin1String(""))));
        QCOMPARE(ShotStore::recent(2).size(), 2);
    }

    void search_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("expected");
        const QString latin = QStringLiteral("latin"), japanese = QStringLiteral("japanese"),
                      empty = QStringLiteral("empty");
        QTest::newRow("ASCII in either case") << QStringLiteral("aBc") << QStringList(latin);
        QTest::newRow("others only as they are") << QStringLiteral("GRÜSSE") << QStringList();
        QTest::newRow("Japanese") << QStringLiteral("請求") << QStringList(japanese);
        QTest::newRow("any text between") << QStringLiteral("請%金額") << QStringList(japanese);
        QTest::newRow("any character, also beyond ASCII") << QStringLiteral("書_合計__額") << QStringList(japanese);
        QTest::newRow("a wildcard alone finds all that was read")
            << QStringLiteral("%") << QStringList({latin, japanese, empty});
        QTest::newRow("nothing typed") << QString() << QStringList({latin, japanese, empty});
        QTest::newRow("quotes are only quotes") << QStringLiteral("' OR 1=1 --") << QStringList();
        QTest::newRow("too long to be a pattern") << QString(60000, u'a') << QStringList();
    }
    void search()
    {
        QFETCH(QString, text);
        QTEST(found(text), "expected");
    }

    void everyCommitIsSeen()
    {
        Database writer(ShotStore::databasePath(), Database::Access::write);
        QVERIFY(writer.open());
        QVERIFY(writer.execute("UPDATE shots SET ocr_text = 'read now' WHERE id = 9"));
        QCOMPARE(found(QStringLiteral("read now")), QStringList(QStringLiteral("unread")));
    }

    void columnsThatAreNull()
    {
        // The schema forbids these two; a file of another origin may hold them.
        const QString path = m_home.file(QStringLiteral("other.sqlite"));
        Database writer(path, Database::Access::write);
        QVERIFY(writer.open());
        QVERIFY(writer.execute("DROP TABLE shots; CREATE TABLE shots(id, path, filename, taken_at, ocr_text, mtime_ms);"
                               "INSERT INTO shots(id) VALUES(1)"));
        ShotReader reader(path);
        QCOMPARE(reader.query(IndexSql::recentShots, std::nullopt, 5), QList<Shot>({Shot{1, {}, {}, {}, {}}}));
        QCOMPARE(reader.query("SELECT nonsense", std::nullopt, 5), QList<Shot>());
    }

    void statementsStopAtTheFirstRefusal()
    {
        Database database(m_home.file(QStringLiteral("t.sqlite")), Database::Access::write);
        QVERIFY(database.open());
        {
            Transaction abandoned(database);
            QVERIFY(database.execute("INSERT INTO shots(path, filename, indexed_at) VALUES('a', 'a', 'a')"));
        }
        QCOMPARE(database.number(IndexSql::countShots), 0);
        Statement inert = database.prepare("INSERT INTO nowhere VALUES(?)");
        inert.bind(1, 5);
        QVERIFY(inert.run() && !inert.nextRow());
        QVERIFY(database.error().contains(QStringLiteral("nowhere")));
        Statement refused = database.prepare("INSERT INTO shots(path) VALUES(?)");
        QVERIFY(!refused.run()); // NOT NULL
    }
};

QTEST_GUILESS_MAIN(tst_ShotStore)
#include "tst_ShotStore.moc"
