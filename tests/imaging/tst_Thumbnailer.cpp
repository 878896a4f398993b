#include "imaging/PngWriter.h"
#include "imaging/Thumbnailer.h"
#include "tests/support/Pixels.h"
#include "tests/support/PngForge.h"

#include <QColorSpace>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

using namespace qm;

class tst_Thumbnailer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    QString written(const QByteArray &content)
    {
        QFile file(m_folder.filePath(QStringLiteral("picture")));
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? file.fileName() : QString();
    }
    QString written(const QImage &image, const char *format = "png")
    {
        const QString path = m_folder.filePath(QStringLiteral("picture"));
        return image.save(path, format, 95) ? path : QString();
    }
    static QImage plain(QSize size, QRgb colour)
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(colour);
        return image;
    }

private Q_SLOTS:
    void everyKindOfFileIsShrunk()
    {
        for (const char *format : {"png", "jpg", "webp", "tiff"}) {
            for (const auto pixels : {QImage::Format_RGB32, QImage::Format_Grayscale8}) {
                QImage image = plain({1600, 900}, 0xff3060c0);
                for (int y = 0; y < 450; ++y)
                    std::fill_n(reinterpret_cast<QRgb *>(image.scanLine(y)), 800, 0xffe0a040);
                image.convertTo(pixels);
                if (pixels == QImage::Format_RGB32)
                    image.setColorSpace(QColorSpace::DisplayP3);
                const QImage small = Thumbnailer::make(written(image, format), 100);
                QCOMPARE(small.size(), QSize(100, 56));
                QCOMPARE(small.format(), QImage::Format_RGB32);
                QCOMPARE(small.colorSpace(), image.colorSpace());
                QVERIFY2(Pixels::near(small.pixel(25, 14), image.pixel(0, 0), 4), format);
                QVERIFY2(Pixels::near(small.pixel(75, 40), image.pixel(1599, 899), 4), format);
            }
        }
    }

    void everyKindOfPngComesInColours()
    {
        QRandomGenerator random(2);
        for (int round = 0; round < 200; ++round) {
            const PngForge::Picture picture = PngForge::anyPicture(random);
            const QString path = written(PngForge::file(picture));
            const QImage small = Thumbnailer::make(path, 1);
            QCOMPARE(small.size(), QSize(1, 1));
            const QImage whole = QImage(path).convertToFormat(QImage::Format_ARGB32_Premultiplied);
            const auto mean = Pixels::meanOf(whole, whole.rect());
            QVERIFY(Pixels::apart(Pixels::at(small, 0, 0), mean) <= 1.5); // 16 bits become 8 on the way
        }
    }

    void neverLargerAndNeverNothing()
    {
        QCOMPARE(Thumbnailer::make(written(plain({700, 30'000}, 0xff008080)), 192).size(), QSize(4, 192));
        QCOMPARE(Thumbnailer::make(written(plain({900, 1}, 0xff008080)), 100).size(), QSize(100, 1));
        QCOMPARE(Thumbnailer::make(written(plain({90, 57}, 0xff008080)), 100).size(), QSize(90, 57));
    }

    void aPartIsWhatTheWholeHasThere()
    {
        const QRect parts[] = {{0, 0, 1, 1}, {3, 5, 11, 7}, {0, 20, 29, 3}, {28, 0, 1, 43}, {0, 0, 29, 43}};
        for (char orientation = 1; orientation <= 8; ++orientation) {
            QByteArray exif = QByteArray::fromHex("4d4d002a00000008 0001 0112 0003 00000001 00000000 00000000");
            exif[19] = orientation;
            const bool turned = orientation > 4;
            const QString path = written(
                PngForge::file({.width = turned ? 90 : 61, .height = turned ? 61 : 90}, PngForge::chunk("eXIf", exif)));
            const QImage whole = Thumbnailer::makePart(path, {29, 43}, {0, 0, 29, 43});
            QCOMPARE(whole, Thumbnailer::make(path, 43));
            for (const QRect &part : parts)
                QCOMPARE(Thumbnailer::makePart(path, {29, 43}, part), whole.copy(part));
        }
        const QString cut = written(PngForge::file({.width = 60, .height = 90}).chopped(2000));
        QVERIFY(!Thumbnailer::makePart(cut, {60, 90}, {0, 0, 60, 20}).hasAlphaChannel()); // it ends below
        QVERIFY(Thumbnailer::makePart(cut, {61, 90}, {0, 0, 9, 9}).isNull());
        QVERIFY(Thumbnailer::makePart(cut, {60, 90}, {0, 80, 9, 11}).isNull());
    }

    void stopsBetweenRows()
    {
        int asked = 0;
        QVERIFY(Thumbnailer::make(written(plain({500, 400}, 0)), 100, [&] { return ++asked == 7; }).isNull());
        QCOMPARE(asked, 7);
    }

    void aCutFileGivesWhatThereIs()
    {
        const QByteArray file = PngForge::file({.width = 300, .height = 300});
        const QImage small = Thumbnailer::make(written(file.chopped(file.size() / 2)), 30);
        QCOMPARE(small.size(), QSize(30, 30));
        QCOMPARE(qAlpha(small.pixel(15, 2)), 255);
        QCOMPARE(qAlpha(small.pixel(15, 29)), 0); // never came
    }

    void whatCannotBeReadIsNull()
    {
        const QByteArray few = PngForge::deflated(QByteArray(90'000, 0), 9);
        const PngForge::Picture rows{.width = 9000, .height = 9000},
            passes{.width = 9000, .height = 9000, .interlaced = true};
        QVERIFY(!Thumbnailer::make(written(PngForge::file(rows, {}, few.chopped(4))), 30).isNull());
        QVERIFY(Thumbnailer::make(written(PngForge::file(passes, {}, few)), 30).isNull()); // asks for too much memory
        QVERIFY(Thumbnailer::make(QStringLiteral("/nowhere.png"), 100).isNull());
        QVERIFY(Thumbnailer::make(written(plain({9, 9}, 0)), std::nan("")).isNull());
    }
};

QTEST_GUILESS_MAIN(tst_Thumbnailer)
#include "tst_Thumbnailer.moc"
