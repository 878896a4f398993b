#include "index/Database.h"
#include "index/ShotStore.h"
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
        QCOMPARE(ShotStore::search(u"a"_s, 200), QList<Shot>());
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
        const QList<Shot> recent = ShotStore::recent(3);
        QCOMPARE(recent, QList<Shot>({{9, u"/c"_s, u"unread"_s, {}, {}},
                                      {7, u"/a"_s, u"latin"_s, u"2024-05-01T09:30:15"_s, u"Grüße ABC 100%"_s},
                                      {8, u"/b"_s, u"japanese"_s, {}, u"請求書の合計_金額"_s}}));
        QCOMPARE(ShotStore::recent(200).last(), (Shot{9000000000, u"/d"_s, u"empty"_s, {}, u""_s}));
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
            {QString(60000, u'a'), u""_s}, // too long to be a pattern
        };
        for (const auto &[text, expected] : rows) {
            QStringList found;
            for (const Shot &shot : ShotStore::search(text, 200))
                found << shot.filename;
            QCOMPARE(found.join(u' '), expected);
        }
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
