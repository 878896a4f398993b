#include "helpers/qmscroll/TallPicture.h"
#include "imaging/ImageFile.h"
#include "tests/support/FullDisk.h"
#include "tests/support/Pixels.h"
#include "tests/support/RenderedScreen.h"

#include <QTemporaryDir>
#include <QtTest>

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
#ifdef Q_OS_LINUX
        QCOMPARE(filesIn(folder), QStringList(u"tall.png"_s)); // the new one has no name
#endif
        const Outcome outcome = picture.finish();
        QVERIFY2(outcome, qPrintable(outcome.reason()));

        const ImageFile::Result read = ImageFile::load(path);
        QCOMPARE(read.failure, ImageFile::Failure::none);
        QCOMPARE(read.image.pixels.convertToFormat(QImage::Format_RGB32), whole);
        QCOMPARE(read.image.scale(), 2.0);
        QCOMPARE(filesIn(folder), QStringList(u"tall.png"_s));
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
        QTest::addColumn<int>("missing"); // bytes of room for the file; 0: there is enough
        QTest::addColumn<bool>("finishes");
        QTest::newRow("cancelled") << "tall.png" << 0 << false;
        QTest::newRow("disk full while rows come") << "tall.png" << 100'000 << true;
        QTest::newRow("disk full at the last bytes") << "tall.png" << 1 << true;
        QTest::newRow("no such folder") << "missing/tall.png" << 0 << true;
        QTest::newRow("no rows") << "empty.png" << 0 << true;
    }

    void leavesNothingBehind()
    {
        QFETCH(QString, file);
        QFETCH(int, missing);
        QFETCH(bool, finishes);
        QTemporaryDir folder;
        const QImage whole = file == u"empty.png" ? QImage() : RenderedScreen::photo({300, 700});
        std::optional<FullDisk> full;
        if (missing) {
            const QString path = folder.filePath(file);
            TallPicture picture(path, 300);
            QVERIFY(appendInPieces(picture, whole) && picture.finish());
            full.emplace(rlim_t(QFileInfo(path).size() - missing));
            QVERIFY(QFile::remove(path));
        }
        {
            TallPicture picture(folder.filePath(file), 300);
            if (!appendInPieces(picture, whole))
                QVERIFY(!picture.append(whole)); // nor later
            const Outcome outcome = finishes ? picture.finish() : Outcome::failure(u"cancelled"_s);
            QVERIFY(!outcome && !outcome.reason().isEmpty());
        }
        QCOMPARE(filesIn(folder), QStringList());
    }

    void refusesRowsThatDoNotFit()
    {
        QTemporaryDir folder;
        TallPicture picture(folder.filePath(u"tall.png"_s), 300);
        QVERIFY(!picture.append(RenderedScreen::photo({299, 20})));
        QVERIFY(!picture.append(RenderedScreen::photo({300, 20})));
        QVERIFY(!picture.finish());
    }
};

QTEST_MAIN(tst_TallPicture)
#include "tst_TallPicture.moc"
