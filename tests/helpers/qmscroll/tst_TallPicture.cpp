#include "config/UnfinishedPictures.h"
#include "helpers/qmscroll/TallPicture.h"
#include "imaging/ImageFile.h"
#include "tests/support/FullDisk.h"
#include "tests/support/Pixels.h"
#include "tests/support/RenderedScreen.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <optional>

using namespace qm;
using namespace Qt::StringLiterals;

namespace {

QStringList filesIn(const QTemporaryDir &folder)
{
    return QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

// Uneven pieces, as a stitcher hands them over.
bool appendInPieces(TallPicture &picture, const QImage &whole)
{
    for (int y = 0, rows = 1; y < whole.height(); y += rows, rows = 1 + rows * 7 % 61) {
        if (!picture.append(whole.copy(0, y, whole.width(), std::min(rows, whole.height() - y))))
            return false;
    }
    return true;
}

} // namespace

class tst_TallPicture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsBackEqual_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("tall") << QSize(480, 3000);
        QTest::newRow("one row") << QSize(200, 1);
        QTest::newRow("narrower than a thumbnail") << QSize(40, 333);
    }

    void readsBackEqual()
    {
        QFETCH(QSize, size);
        QTemporaryDir folder;
        const QString path = folder.filePath(u"tall.png"_s);
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();
        const QImage whole = RenderedScreen::photo(size);

        TallPicture picture(path, size.width(), 144);
        QVERIFY(picture.thumbnail().isNull());
        QVERIFY(appendInPieces(picture, whole));
        QCOMPARE(picture.height(), size.height());
        QVERIFY(old.open(QIODevice::ReadOnly));
        QCOMPARE(old.readAll(), QByteArray("old")); // until the picture is whole
        const Outcome outcome = picture.finish();
        QVERIFY2(outcome, qPrintable(outcome.reason()));

        const ImageFile::Result read = ImageFile::load(path);
        QCOMPARE(read.failure, ImageFile::Failure::none);
        QCOMPARE(read.image.pixels.convertToFormat(QImage::Format_RGB32), whole);
        QCOMPARE(read.image.scale(), 2.0);
        QCOMPARE(filesIn(folder), QStringList(u"tall.png"_s));
    }

    // Of a process that is killed, here a copy of its file, others make a picture: never of one that lives, nor over another.
    void whatWasKeptOutlivesTheProcess()
    {
        QTemporaryDir folder;
        const QString left = folder.filePath(u".left.png.unfinished"_s);
        const QImage whole = RenderedScreen::photo({400, 2100});
        TallPicture picture(folder.filePath(u"tall.png"_s), whole.width());
        for (const bool hasRows : {false, true}) { // which are written before the header tells of them
            TallPicture begun(folder.filePath(u"begun.png"_s), whole.width());
            QVERIFY(!hasRows || begun.append(whole));
            QVERIFY(QFile::copy(folder.filePath(u".begun.png.unfinished"_s), left));
            QCOMPARE(UnfinishedPictures::complete(folder.path()), QStringList());
            QVERIFY(QFile::remove(left));
        }
        QStringList names;
        for (int y = 0; const QString &name : {u"left.png"_s, u"left 2.png"_s, u"left 3.png"_s}) {
            picture.keep(whole.copy(0, y, whole.width(), 100));
            QVERIFY(picture.append(whole.copy(0, y, whole.width(), 700)));
            names << folder.filePath(name);
            QVERIFY(QFile::copy(folder.filePath(u".tall.png.unfinished"_s), left));
            QCOMPARE(UnfinishedPictures::complete(folder.path()), QStringList(names.last()));
            const QImage read = ImageFile::load(names.last()).image.pixels;
            QCOMPARE(read.convertToFormat(QImage::Format_RGB32), whole.copy(0, 0, whole.width(), y + 100));
            y += 700;
        }
        // Of the forms of a picture one is left, whichever is the highest.
        for (const QString &form : {u""_s, u".form2"_s, u".form3"_s})
            QVERIFY(QFile::copy(names[form == u".form2"_s ? 1 : 0], left + form));
        QCOMPARE(UnfinishedPictures::complete(folder.path()), QStringList(folder.filePath(u"left 4.png"_s)));
        QCOMPARE(QImage(folder.filePath(u"left 4.png"_s)).height(), 800);
        // What only looks like one belongs to others.
        QVERIFY(QFile::copy(names.last(), folder.filePath(u".left.png.unfinished.bak"_s)));
        QFile notes(folder.filePath(u".notes.unfinished"_s));
        QVERIFY(notes.open(QIODevice::WriteOnly) && notes.write(QByteArray(100, 'x')) == 100);
        notes.close();
        QCOMPARE(UnfinishedPictures::complete(folder.path()), QStringList());
        QVERIFY(picture.finish());
        QCOMPARE(ImageFile::load(folder.filePath(u"tall.png"_s)).image.pixels.convertToFormat(QImage::Format_RGB32),
                 whole);
        QCOMPARE(filesIn(folder).size(), 7);
    }

    void whatWasKeptOutlivesAFullDisk()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"tall.png"_s);
        const QImage whole = RenderedScreen::photo({400, 2100});
        TallPicture picture(path, whole.width());
        picture.keep(whole.copy(0, 0, whole.width(), 500));
        const FullDisk full(rlim_t(QFileInfo(folder.filePath(u".tall.png.unfinished"_s)).size()));
        QVERIFY(appendInPieces(picture, whole));
        picture.keep({});
        QVERIFY(!picture.append(whole));
        const Outcome outcome = picture.finish();
        QCOMPARE(outcome.reason(), qt_error_string(EFBIG));
        QCOMPARE(picture.height(), 500);
        QCOMPARE(ImageFile::load(path).image.pixels.convertToFormat(QImage::Format_RGB32),
                 whole.copy(0, 0, whole.width(), 500));
    }

    void whatCannotBeMovedIsFound()
    {
        QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkdir(u"tall"_s));
        {
            TallPicture picture(folder.filePath(u"tall"_s), 40);
            QVERIFY(picture.append(RenderedScreen::photo({40, 50})));
            QVERIFY(!picture.finish());
        }
        QCOMPARE(UnfinishedPictures::complete(folder.path()), QStringList(folder.filePath(u"tall 2"_s)));
        QCOMPARE(ImageFile::load(folder.filePath(u"tall 2"_s)).image.pixels.height(), 50);
    }

    // 500 to 160 leaves parts of pixels, and 1300 rows fill two squares and a half.
    void thumbnailIsTheMean()
    {
        QTemporaryDir folder;
        const QImage whole = RenderedScreen::photo({500, 1300});
        TallPicture picture(folder.filePath(u"tall.png"_s), whole.width());
        QVERIFY(appendInPieces(picture, whole));
        const QImage thumbnail = picture.thumbnail();
        QCOMPARE(thumbnail.size(), QSize(160, 1300 * 160 / 500));
        constexpr double side = 500.0 / 160;
        for (int y = 0; y < thumbnail.height(); y += 5) {
            for (int x = 0; x < thumbnail.width(); x += 7) {
                const Pixels::Channels mean = Pixels::meanOf(whole, {x * side, y * side, side, side});
                QVERIFY(Pixels::apart(Pixels::at(thumbnail, x, y), mean) <= 1);
            }
        }
    }

    void leavesNothingBehind_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QSize>("size");  // of what is to come into a picture 300 pixels wide
        QTest::addColumn<int>("missing"); // bytes of room for the file; 0: there is enough
        QTest::newRow("cancelled") << "" << QSize(300, 700) << 0;
        QTest::newRow("disk full while rows come") << "tall.png" << QSize(300, 700) << 100'000;
        QTest::newRow("disk full at the last bytes") << "tall.png" << QSize(300, 700) << 1;
        QTest::newRow("no such folder") << "missing/tall.png" << QSize(300, 700) << 0;
        QTest::newRow("no rows") << "tall.png" << QSize(300, 0) << 0;
        QTest::newRow("rows that do not fit") << "tall.png" << QSize(299, 20) << 0;
    }

    void leavesNothingBehind()
    {
        QFETCH(QString, file);
        QFETCH(QSize, size);
        QFETCH(int, missing);
        QTemporaryDir folder;
        const QImage whole = RenderedScreen::photo({300, 700}), rows = whole.copy(QRect(QPoint(), size));
        std::optional<FullDisk> full;
        if (missing) {
            const QString path = folder.filePath(file);
            TallPicture picture(path, 300);
            QVERIFY(appendInPieces(picture, whole) && picture.finish());
            full.emplace(rlim_t(QFileInfo(path).size() - missing));
            QVERIFY(QFile::remove(path));
        }
        {
            TallPicture picture(folder.filePath(file.isEmpty() ? u"a.png"_s : file), 300);
            if (!appendInPieces(picture, rows))
                QVERIFY(!picture.append(whole)); // nor later
            const Outcome outcome = file.isEmpty() ? Outcome::failure(u"cancelled"_s) : picture.finish();
            QVERIFY(!outcome && !outcome.reason().isEmpty());
        }
        QCOMPARE(filesIn(folder), QStringList());
    }
};

QTEST_MAIN(tst_TallPicture)
#include "tst_TallPicture.moc"
