#include "index/FolderScan.h"
#include "index/PathSet.h"
#include "index/TakenAt.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTest>

#include <map>
#include <memory>
#include <sys/stat.h>

using namespace qm;

static const QDateTime now = QDateTime::fromString(QStringLiteral("2026-03-05T14:07:09.500Z"), Qt::ISODateWithMs);
static constexpr char names[] = "SELECT filename FROM shots ORDER BY filename";

class tst_FolderScan : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<Database> m_database;

    QString at(const char *relative) const { return m_home->file(QString::fromUtf8(relative)); }
    void touch(const char *relative, qint64 modified = 1'000'000'000, const QByteArray &content = "x") const
    {
        m_home->write(QString::fromUtf8(relative), content);
        setModified(at(relative), modified);
    }
    FolderScan::Changes scan(const QStringList &folders) { return FolderScan::scan(*m_database, folders, now); }
    FolderScan::Changes scan() { return scan({at("a"), at("b")}); }

private Q_SLOTS:
    void init()
    {
        m_database.reset();
        m_home = std::make_unique<TempHome>();
        m_database = std::make_unique<Database>(at(".quillmere/db.sqlite"), Database::Access::write);
        QVERIFY(m_database->open());
    }

    void whatIsIndexed()
    {
        for (const char *name : {"a/1.png", "a/2.JPG", "a/3.jpeg", "a/4.Gif", "a/5.heic", "a/6.tiff", "a/7.webp",
                                 "a/.8.png", "a/9 日本 'q\" \n.png", "a/no.tif", "a/no.bmp", "a/no.txt", "a/nopng",
                                 "a/.png", "a/no.png.part", "a/sub.d/no.png"})
            touch(name);
        QVERIFY(QDir().mkpath(at("a/folder.png")));
        QVERIFY(QFile::link(at("a/1.png"), at("a/link.png")));
        QVERIFY(mkfifo(QFile::encodeName(at("a/pipe.png")).constData(), 0600) == 0);
        QFile notUtf8(at("a"));
        m_home->write(QStringLiteral("plain"), "x");
        QCOMPARE(rename(QFile::encodeName(at("plain")).constData(), (at("a").toUtf8() + "/\xff.png").constData()), 0);
        QCOMPARE(scan().added, 9);
        QCOMPARE(
            rows(*m_database, names, 1),
            QStringList({QStringLiteral(".8.png"), QStringLiteral("1.png"), QStringLiteral("2.JPG"),
                         QStringLiteral("3.jpeg"), QStringLiteral("4.Gif"), QStringLiteral("5.heic"),
                         QStringLiteral("6.tiff"), QStringLiteral("7.webp"), QStringLiteral("9 日本 'q\" \n.png")}));
    }

    void whatARowSays()
    {
        touch("a/Shot 2024-05-01 at 09.30.15.png", 1'714'500'000, "12345");
        touch("b/x.png", 1'700'000'000);
        scan();
        QCOMPARE(
            rows(*m_database,
                 "SELECT path, filename, bytes, mtime_ms, taken_at, ocr_text, ocr_done, indexed_at FROM shots", 8),
            QStringList(
                {at("b/x.png") + QStringLiteral("|x.png|1|1700000000000|2023-11-14T22:13:20Z|-|0|2026-03-05T14:07:09Z"),
                 at("a/Shot 2024-05-01 at 09.30.15.png") +
                     QStringLiteral("|Shot 2024-05-01 at 09.30.15.png|5|1714500000000|2024-05-01T09:30:15"
                                    "|-|0|2026-03-05T14:07:09Z")})); // in order of time, not of folders
    }

    void aSecondPassChangesNothing()
    {
        touch("a/1.png");
        touch("b/1.png");
        QCOMPARE(scan().added, 2);
        QVERIFY(m_database->execute("UPDATE shots SET ocr_text = 'read', ocr_done = 1, indexed_at = 'then'"));
        touch("a/1.png", 1'700'000'000, "replaced in place"); // its row stays as it was
        const FolderScan::Changes changes = scan({at("a"), at("b"), at("a")});
        QCOMPARE(changes.added + changes.removed, 0);
        QCOMPARE(rows(*m_database, "SELECT bytes, ocr_text, indexed_at FROM shots", 3),
                 QStringList({QStringLiteral("1|read|then"), QStringLiteral("1|read|then")}));
    }

    void rowsOfGoneFilesLeave()
    {
        for (const char *name : {"a/stays.png", "a/goes.png", "a/link.png", "a/becomes a folder.png", "c/elsewhere.png",
                                 "c/gone elsewhere.png"})
            touch(name);
        QCOMPARE(scan({at("a"), at("c")}).added, 6);
        for (const char *name : {"a/goes.png", "a/link.png", "a/becomes a folder.png", "c/gone elsewhere.png"})
            QVERIFY(QFile::remove(at(name)));
        QVERIFY(QFile::link(at("nowhere"), at("a/link.png"))); // listed, but nothing stands behind it
        QVERIFY(QDir().mkpath(at("a/becomes a folder.png")));
        QCOMPARE(scan({at("a")}).removed, 3); // folder c is no longer looked into; its files are asked for
        QCOMPARE(rows(*m_database, names, 1),
                 QStringList({QStringLiteral("becomes a folder.png"), QStringLiteral("elsewhere.png"),
                              QStringLiteral("stays.png")}));
    }

    void foldersThatCannotBeListedKeepTheirRows()
    {
        m_database.reset();
        m_home.reset();
        const OrdinaryUser user;
        init();
        touch("a/1.png");
        touch("b/2.png");
        QCOMPARE(scan().added, 2);
        QVERIFY(QFile::setPermissions(at("a"), QFile::Permissions()));
        QVERIFY(QDir(at("b")).removeRecursively());
        m_home->write(QStringLiteral("b"), "the capture folder is a file now");
        const FolderScan::Changes changes = scan();
        QVERIFY(QFile::setPermissions(at("a"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(changes.removed + changes.added, 0);
        m_database.reset();
        m_home.reset();
    }

    void missingFoldersAreNoError()
    {
        touch("b/1.png");
        QCOMPARE(scan({at("none"), at("b")}).added, 1);
        QVERIFY(QDir(at("b")).removeRecursively());
        QCOMPARE(scan().removed, 1);
    }

    void withoutAConnectionNothingHappens()
    {
        touch("a/1.png");
        Database closed(at("none/db.sqlite"), Database::Access::read);
        QVERIFY(!closed.open());
        QCOMPARE(FolderScan::scan(closed, {at("a")}, now).added, 0);
    }

    void aWriteThatIsRefusedIsDoneByTheNextPass()
    {
        for (int i = 0; i < 2000; ++i)
            m_home->write(QStringLiteral("a/%1.png").arg(i), "x");
        QVERIFY(m_database->execute("PRAGMA max_page_count = 20")); // SQLite's own "disk full"
        QCOMPARE(scan().added, 0);
        QCOMPARE(rows(*m_database, names, 1), QStringList());
        QVERIFY(m_database->execute("PRAGMA max_page_count = 100000"));
        QCOMPARE(scan().added, 2000);
    }

    void takenAt_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char16_t *name, const char16_t *expected) {
            const QString text = QString::fromUtf16(name);
            QTest::newRow(qPrintable(text)) << text << QString::fromUtf16(expected);
        };
        const char16_t *const fromFile = u"2001-09-09T01:46:40Z";
        row(u"2024-05-01 at 09.30.15.png", u"2024-05-01T09:30:15");
        row(u"Screenshot 2024-05-01 AT 09:30:15 (2).png", u"2024-05-01T09:30:15");
        row(u"2024-05-01at09.30:15", u"2024-05-01T09:30:15");
        row(u"スクリーンショット 2024-05-01 9.30.15.png", fromFile);
        row(u"スクリーンショット 2024-05-01 21.30.15.png", u"2024-05-01T21:30:15");
        row(u"Screenshot from 2024-05-01\u202fat\u202f09.30.15.png", u"2024-05-01T09:30:15");
        row(u"2024-99-99 at 99.99.99.png", u"2024-99-99T99:99:99"); // digits are taken as they stand
        row(u"2024-05-01 x 08.00.00 2024-06-02\u202fat\u202f09.30.15.png",
            u"2024-06-02T09:30:15"); // the word goes first
        row(u"Shot 2024-05-01 at 9.30.15 PM.png", fromFile);
        row(u"shot-2024-05-01-09h30m15.png", fromFile);
        row(u"Quillmere 2026-03-05-14-07-09.png", u"2026-03-05T14:07:09");
        row(u"Quillmere 2026-03-05-14-07-09 scroll-annotated.png", u"2026-03-05T14:07:09");
        row(u"IMG.PNG", fromFile);
    }
    void takenAt()
    {
        QFETCH(QString, name);
        QTEST(parseTakenAt(name, 1'000'000'000'999), "expected");
    }

    void utcStamps()
    {
        QCOMPARE(isoUtc(0), QStringLiteral("1970-01-01T00:00:00Z"));
        QCOMPARE(isoUtc(1'709'164'800'000), QStringLiteral("2024-02-29T00:00:00Z"));
        QCOMPARE(isoUtc(-1), QStringLiteral("1969-12-31T23:59:59Z"));
    }

    void thePathSetAgainstAMap()
    {
        PathSet set;
        std::map<std::string, PathSet::Ref> truth;
        QRandomGenerator random(7);
        for (int i = 0; i < 20000; ++i) {
            const std::string path = "/folder/" + std::to_string(random.bounded(9000));
            const PathSet::Ref before = set.find(path).value_or(0);
            const PathSet::Inserted inserted = set.insert(path);
            const auto [entry, isNew] = truth.try_emplace(path, inserted.ref);
            QCOMPARE(before, isNew ? 0 : entry->second);
            QCOMPARE(inserted.isNew, isNew);
            QCOMPARE(inserted.ref, entry->second);
            if (i % 3 == 0)
                set.mark(inserted.ref);
        }
        QCOMPARE(set.size(), truth.size());
        size_t visited = 0;
        set.forEach([&](PathSet::Ref ref) { visited += truth.at(std::string(set[ref])) == ref; });
        QCOMPARE(visited, truth.size());
        QVERIFY(!set.find("/folder/") && !set.find("/folder/12345678"));
    }
};

QTEST_GUILESS_MAIN(tst_FolderScan)
#include "tst_FolderScan.moc"
