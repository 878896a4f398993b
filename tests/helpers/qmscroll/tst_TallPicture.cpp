#include "helpers/qmscroll/TallPicture.h"
#include "imaging/ImageFile.h"
#include "tests/support/RenderedScreen.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>

#include <csignal>

using namespace qm;

namespace {

QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
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

double peakMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').at(1).toDouble() / 1024;
    }
    return -1;
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
        const QString path = folder.filePath(QStringLiteral("tall.png"));
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
        QCOMPARE(filesIn(folder.path()), QStringList{QStringLiteral("tall.png")}); // the new one has no name
#endif
        const Outcome outcome = picture.finish();
        QVERIFY2(outcome, qPrintable(outcome.reason()));

        const ImageFile::Result read = ImageFile::load(path);
        QCOMPARE(read.failure, ImageFile::Failure::none);
        QCOMPARE(read.image.pixels.convertToFormat(QImage::Format_RGB32), whole);
        QCOMPARE(read.image.scale(), 2.0);
        QCOMPARE(filesIn(folder.path()), QStringList{QStringLiteral("tall.png")});
    }

    // Against the mean of each pixel's area; 500 to 160 leaves parts of pixels, and 1300 rows fill two squares and a half.
    void thumbnailIsTheMean()
    {
        QTemporaryDir folder;
        const QImage whole = RenderedScreen::photo({500, 1300});
        TallPicture picture(folder.filePath(QStringLiteral("tall.png")), whole.width());
        QVERIFY(appendInPieces(picture, whole));
        const QImage thumbnail = picture.thumbnail();
        QCOMPARE(thumbnail.size(), QSize(160, 1300 * 160 / 500));
        QCOMPARE(thumbnail.format(), QImage::Format_RGB32);
        constexpr double side = 500.0 / 160;
        for (int y = 0; y < thumbnail.height(); y += 5) {
            for (int x = 0; x < thumbnail.width(); x += 7) {
                double green = 0;
                for (int row = int(y * side); row < whole.height() && row < (y + 1) * side; ++row) {
                    const double high = std::min((y + 1) * side, row + 1.0) - std::max(y * side, double(row));
                    for (int column = int(x * side); column < whole.width() && column < (x + 1) * side; ++column) {
                        const double wide = std::min((x + 1) * side, column + 1.0) - std::max(x * side, double(column));
                        green += high * wide * qGreen(whole.pixel(column, row));
                    }
                }
                QVERIFY(std::abs(qGreen(thumbnail.pixel(x, y)) - green / (side * side)) <= 1);
            }
        }
    }

    void leavesNothingBehind_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<qint64>("limit"); // bytes a file may have; none: unlimited
        QTest::addColumn<bool>("finishes");
        QTest::newRow("cancelled") << "tall.png" << qint64(-1) << false;
        QTest::newRow("disk full while rows come") << "tall.png" << qint64(100'000) << true;
        QTest::newRow("disk full at the last bytes") << "tall.png" << qint64(-2) << true;
        QTest::newRow("no such folder") << "missing/tall.png" << qint64(-1) << true;
        QTest::newRow("no rows") << "empty.png" << qint64(-1) << true;
    }

    void leavesNothingBehind()
    {
        QFETCH(QString, file);
        QFETCH(qint64, limit);
        QFETCH(bool, finishes);
        QTemporaryDir folder;
        const QImage whole = file == QLatin1String("empty.png") ? QImage() : RenderedScreen::photo({300, 700});
        if (limit == -2) { // one byte less than the whole file
            const QString path = folder.filePath(QStringLiteral("tall.png"));
            TallPicture picture(path, whole.width());
            QVERIFY(appendInPieces(picture, whole) && picture.finish());
            limit = QFileInfo(path).size() - 1;
            QVERIFY(QFile::remove(path));
        }
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit tight{limit < 0 ? before.rlim_cur : rlim_t(limit), before.rlim_max};
        std::signal(SIGXFSZ, SIG_IGN); // the write fails instead, as on a full disk
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &tight), 0);
        Outcome outcome = Outcome::success();
        {
            TallPicture picture(folder.filePath(file), 300);
            const bool kept = appendInPieces(picture, whole);
            if (finishes)
                outcome = picture.finish();
            if (!kept)
                Q_UNUSED(picture.append(whole)); // still no crash, and still no file
        }
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &before), 0);
        QCOMPARE(bool(outcome), !finishes);
        if (finishes)
            QVERIFY(!outcome.reason().isEmpty());
        QCOMPARE(filesIn(folder.path()), QStringList());
    }

    void refusesRowsThatDoNotFit()
    {
        QTemporaryDir folder;
        TallPicture picture(folder.filePath(QStringLiteral("tall.png")), 300);
        QVERIFY(!picture.append(RenderedScreen::photo({299, 20})));
        QVERIFY(!picture.append(RenderedScreen::photo({300, 20})));
        QVERIFY(!picture.finish());
    }

    void memoryDoesNotGrow()
    {
        QTemporaryDir folder;
        const QImage frame = RenderedScreen::photo({1600, 1000});
        TallPicture picture(folder.filePath(QStringLiteral("tall.png")), 1600);
        QVERIFY(picture.append(frame));
        const double before = peakMegabytes();
        QVERIFY(before > 0);
        for (int i = 1; i < 30; ++i)
            QVERIFY(picture.append(frame));
        QVERIFY(picture.finish());
        QCOMPARE(picture.height(), 30'000);
        const double grown = peakMegabytes() - before;
        QVERIFY2(grown < 40, qPrintable(QString::number(grown)));
    }
};

QTEST_MAIN(tst_TallPicture)
#include "tst_TallPicture.moc"
