#include "index/FolderScan.h"

#include "config/CaptureNames.h"
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
using namespace Qt::StringLiterals;

static const QDateTime now = QDateTime::fromString(u"2026-03-05T14:07:09.500Z"_s, Qt::ISODateWithMs);

class tst_FolderScan : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<Database> m_database;

    QString at(const QString &relative) const { return m_home->file(relative); }
    void touch(const QString &relative, qint64 modified = 1'000'000'000, const QByteArray &content = "x") const
    {
        m_home->write(relative, content);
        m_home->setModified(relative, modified);
    }
    FolderScan::Changes scan(const QStringList &folders)
    {
        return FolderScan::scan(*m_database, {.folders = folders, .now = now});
    }
    FolderScan::Changes scan() { return scan({at(u"a"_s), at(u"b"_s)}); }
    QStringList names() { return rows(*m_database, "SELECT filename FROM shots ORDER BY filename", 1); }

private Q_SLOTS:
    void init()
    {
        m_database.reset();
        m_home = std::make_unique<TempHome>();
        m_database = std::make_unique<Database>(at(u".quillmere/db.sqlite"_s), Database::Access::write);
        QVERIFY(m_database->open());
    }

    void whatIsIndexed()
    {
        const QStringList pictures{u".8.png"_s, u"1.png"_s,  u"2.JPG"_s,
                                   u"3.jpeg"_s, u"4.Gif"_s,  u"5.heic"_s,
                                   u"6.tiff"_s, u"7.webp"_s, u"9 日本 'q\" \n.png"_s};
        const QStringList others{u"no.tif"_s, u"no.bmp"_s, u"no.txt"_s,      u"nopng"_s,
                                 u".png"_s,   u"plain"_s,  u"no.png.part"_s, u"sub.d/no.png"_s};
        for (const QString &name : pictures + others)
            touch(u"a/"_s + name);
        QVERIFY(QDir().mkpath(at(u"a/folder.png"_s)));
        QVERIFY(QFile::link(at(u"a/1.png"_s), at(u"a/link.png"_s)));
        QVERIFY(mkfifo(QFile::encodeName(at(u"a/pipe.png"_s)).constData(), 0600) == 0);
        const QByteArray notUtf8 = at(u"a/"_s).toUtf8() + "\xff.png";
        QCOMPARE(rename(qPrintable(at(u"a/plain"_s)), notUtf8.constData()), 0);
        QCOMPARE(scan({at(u"none"_s), at(u"a"_s), at(u"a"_s)}).added, 9);
        QCOMPARE(names(), pictures);
        QCOMPARE(unlink(notUtf8.constData()), 0); // which Qt's temporary folder could not
    }

    void whatARowSays()
    {
        touch(u"a/Shot 2024-05-01 at 09.30.15.png"_s, 1'714'500'000, "12345");
        touch(u"b/x.png"_s, 1'700'000'000);
        scan();
        QCOMPARE(
            rows(*m_database,
                 "SELECT path, filename, bytes, mtime_ms, taken_at, ocr_text, ocr_done, indexed_at FROM shots", 8),
            QStringList({at(u"b/x.png"_s) + u"|x.png|1|1700000000000|2023-11-14T22:13:20Z|-|0|2026-03-05T14:07:09Z"_s,
                         at(u"a/Shot 2024-05-01 at 09.30.15.png"_s) +
                             u"|Shot 2024-05-01 at 09.30.15.png|5|1714500000000|2024-05-01T09:30:15"
                             "|-|0|2026-03-05T14:07:09Z"_s})); // in order of time, not of folders
        QVERIFY(m_database->execute("UPDATE shots SET ocr_text = 'read', ocr_done = 1, indexed_at = 'then'"));
        QVERIFY(m_database->execute("INSERT INTO shot_failures VALUES(1, 'half', 5), (2, 'half', 5)"));
        touch(u"a/Shot 2024-05-01 at 09.30.15.png"_s, 1'700'000'001, "redacted");
        touch(u"b/x.png"_s, 1'700'000'002); // no less than it was: found by its words until they are read again
        const FolderScan::Changes changes = scan();
        QCOMPARE(std::tuple(changes.added, changes.removed, changes.changed), std::tuple(0, 0, 2));
        QCOMPARE(rows(*m_database, "SELECT bytes, mtime_ms, taken_at, ocr_text, ocr_done, indexed_at FROM shots", 6),
                 QStringList({u"1|1700000002000|2023-11-14T22:13:22Z|read|0|then"_s,
                              u"8|1700000001000|2024-05-01T09:30:15|-|0|then"_s}));
        QCOMPARE(m_database->number("SELECT COUNT(*) FROM shot_failures"), 0);
        QCOMPARE(scan().changed, 0);
    }

    // A look at every file would cost more than all else. Here an old one has been replaced by one of its age.
    void whichFilesAreLookedAt()
    {
        for (int i = 0; i < 400; ++i)
            touch(u"a/%1.png"_s.arg(i), 1'000'000'000 + i);
        auto replace = [this, size = 1](const QString &name) mutable {
            touch(name, 1'000'000'000, QByteArray(++size, 'x'));
        };
        const QString old = u"a/90.png"_s;
        const QStringList folders{at(u"a"_s)};
        QCOMPARE(scan(folders).added, 400);
        replace(old);
        QCOMPARE(scan(folders).changed, 0);
        QCOMPARE(FolderScan::scan(*m_database, {.folders = folders, .named = {at(old).toUtf8()}}).changed, 1);
        replace(old);
        QVERIFY(
            m_database->execute("INSERT INTO shot_failures SELECT id, 'half', 5 FROM shots WHERE filename = '90.png'"));
        QCOMPARE(scan(folders).changed, 1);
        replace(old);
        FolderScan::Changes round;
        int changed = 0;
        for (int pass = 0; pass < 11; ++pass) { // all of them in turn, and begins anew
            round = FolderScan::scan(*m_database, {.folders = folders, .share = 10, .after = round.after});
            changed += round.changed;
        }
        QCOMPARE(changed, 1);
        replace(old);
        QCOMPARE(FolderScan::scan(*m_database, {.folders = folders, .share = 1}).changed, 1);
    }

    void rowsOfGoneFilesLeave()
    {
        const QStringList all{u"a/stays.png"_s,        u"a/goes.png"_s,      u"a/link.png"_s,
                              u"a/turns folder.png"_s, u"c/elsewhere.png"_s, u"c/gone elsewhere.png"_s};
        for (const QString &name : all)
            touch(name);
        QCOMPARE(scan({at(u"a"_s), at(u"c"_s)}).added, 6);
        for (const int gone : {1, 2, 3, 5})
            QVERIFY(QFile::remove(at(all[gone])));
        QVERIFY(QFile::link(at(u"nowhere"_s), at(u"a/link.png"_s))); // listed, but nothing stands behind it
        QVERIFY(QDir().mkpath(at(u"a/turns folder.png"_s)));
        QCOMPARE(scan({at(u"a"_s)}).removed, 3); // folder c is no longer looked into; its files are asked for
        QCOMPARE(names(), QStringList({u"elsewhere.png"_s, u"stays.png"_s, u"turns folder.png"_s}));
        QVERIFY(QDir(at(u"a"_s)).removeRecursively());
        QCOMPARE(FolderScan::scan(*m_database, {.away = {at(u"a"_s), at(u"c/else"_s)}}).removed, 0);
        QCOMPARE(scan({at(u"a"_s)}).removed, 2);
    }

    void foldersThatCannotBeListedKeepTheirRows()
    {
        m_database.reset();
        m_home.reset();
        const OrdinaryUser user;
        init();
        touch(u"a/1.png"_s);
        touch(u"b/2.png"_s);
        QCOMPARE(scan().added, 2);
        QVERIFY(QFile::setPermissions(at(u"a"_s), QFile::Permissions()));
        QVERIFY(QDir(at(u"b"_s)).removeRecursively());
        m_home->write(u"b"_s, "the capture folder is a file now");
        const FolderScan::Changes changes = scan();
        QVERIFY(QFile::setPermissions(at(u"a"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(changes.removed + changes.added, 0);
        m_database.reset();
        m_home.reset();
    }

    void aWriteThatIsRefusedIsDoneByTheNextPass()
    {
        for (int i = 0; i < 2000; ++i)
            m_home->write(u"a/%1.png"_s.arg(i), "x");
        Database closed(at(u"none/db.sqlite"_s), Database::Access::read);
        QCOMPARE(FolderScan::scan(closed, {.folders = {at(u"a"_s)}}).added, 0);
        QVERIFY(m_database->execute("PRAGMA max_page_count = 20")); // SQLite's own "disk full"
        QCOMPARE(scan().added, 0);
        QCOMPARE(names(), QStringList());
        QVERIFY(m_database->execute("PRAGMA max_page_count = 100000"));
        QCOMPARE(scan().added, 2000);
    }

    void takenAt()
    {
        const QString fromFile = u"2001-09-09T01:46:40Z"_s;
        const std::pair<QString, QString> rows[] = {
            {u"2024-05-01 at 09.30.15.png"_s, u"2024-05-01T09:30:15"_s},
            {u"Screenshot 2024-05-01 AT 09:30:15 (2).png"_s, u"2024-05-01T09:30:15"_s},
            {u"2024-05-01at09.30:15"_s, u"2024-05-01T09:30:15"_s},
            {u"スクリーンショット 2024-05-01 9.30.15.png"_s, fromFile},
            {u"スクリーンショット 2024-05-01 21.30.15.png"_s, u"2024-05-01T21:30:15"_s},
            {u"Screenshot from 2024-05-01\u202fat\u202f09.30.15.png"_s, u"2024-05-01T09:30:15"_s},
            {u"2024-99-99 at 99.99.99.png"_s, u"2024-99-99T99:99:99"_s}, // digits are taken as they stand
            {u"2024-05-01 x 08.00.00 2024-06-02\u202fat\u202f09.30.15.png"_s, u"2024-06-02T09:30:15"_s}, // "at" first
            {u"Shot 2024-05-01 at 9.30.15 PM.png"_s, fromFile},
            {u"shot-2024-05-01-09h30m15.png"_s, fromFile},
            {u"Screenshot from 2024-05-01 09-30-15.png"_s, u"2024-05-01T09:30:15"_s}, // GNOME
            {u"Screenshot from 2024-05-01 09-30-15-1.png"_s, u"2024-05-01T09:30:15"_s},
            {u"スクリーンショット 2024-05-01 09-30-15.png"_s, u"2024-05-01T09:30:15"_s},
            {u"2024-05-01 09-30-15 のスクリーンショット.png"_s, u"2024-05-01T09:30:15"_s},
            {u"Screenshot_20240501_093015.png"_s, u"2024-05-01T09:30:15"_s},     // KDE
            {u"Screenshot_2024-05-01_09-30-15.png"_s, u"2024-05-01T09:30:15"_s}, // Xfce
            {u"2024-05-01_09-30.png"_s, u"2024-05-01T09:30:00"_s},               // Flameshot
            {u"report 2024-05-01_09-30.png"_s, fromFile},
            {u"Quillmere 2026-03-05-14-07-09 scroll-annotated.png"_s, u"2026-03-05T14:07:09"_s},
            {u"Copy of Quillmere 2026-03-05-14-07-09.png"_s, fromFile},
            {u"Quillmere 2026-03-05-14-07-0"_s, fromFile},
            {u"Quillmere 2026-03-05 14-07-09.png"_s, fromFile},
            {u"Quillmere ２026-03-05-14-07-09.png"_s, fromFile},
        };
        for (const auto &[name, expected] : rows)
            QCOMPARE(std::pair(name, parseTakenAt(name, 1'000'000'000'999)), std::pair(name, expected));
        qputenv("TZ", "Asia/Tokyo");
        QCOMPARE(localTime(fromFile), u"2001-09-09T10:46:40"_s); // what is seen of it
        QCOMPARE(localTime(u"2024-99-99T99:99:99"_s), u"2024-99-99T99:99:99"_s);
        qunsetenv("TZ");
    }

    void stamps()
    {
        const QDateTime time(QDate(2026, 3, 5), QTime(4, 7, 9));
        for (const QString &name : {CaptureNames::capture(time), CaptureNames::scroll(time)})
            QCOMPARE(parseTakenAt(name, 0), u"2026-03-05T04:07:09"_s);
        QCOMPARE(isoUtc(1'709'164'800'000), u"2024-02-29T00:00:00Z"_s);
        QCOMPARE(isoUtc(-1), u"1969-12-31T23:59:59Z"_s);
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
