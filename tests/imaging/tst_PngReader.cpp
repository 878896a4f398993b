#include "imaging/PngKernels.h"
#include "tests/imaging/PngComparison.h"
#include "tests/support/PngForge.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace qm;
using PngForge::Picture;
using PngReader::Depth;
using PngReader::Lane;

class tst_PngReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { PngKernels::use(nullptr); }

    // Every kind of PNG, whole and damaged, by both sets of kernels and without the lane: libpng is the judge.
    void equalsLibpng_data()
    {
        QTest::addColumn<bool>("damaged");
        QTest::addRow("whole") << false;
        QTest::addRow("damaged") << true;
    }

    void equalsLibpng()
    {
        QFETCH(bool, damaged);
        QRandomGenerator random(11);
        for (int round = 0; round < 5000; ++round) {
            const Picture picture = PngForge::anyPicture(random);
            const QByteArray file = damaged ? PngForge::damagedFile(picture, random) : PngForge::file(picture);
            const QByteArray name = "round " + QByteArray::number(round) + ": ";
            for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
                PngKernels::use(kernels);
                bool byLane = false;
                const QByteArray different = differenceFromLibpng(file, Lane::whereItFits, &byLane);
                QVERIFY2(different.isEmpty(), (name + different).constData());
                const bool fits = picture.bitDepth == 8 && !picture.interlaced &&
                                  (picture.colourType == 2 || picture.colourType == 6);
                QVERIFY2(damaged || !fits || byLane, (name + "fell back").constData());
            }
            const QByteArray different = differenceFromLibpng(file, Lane::never);
            QVERIFY2(different.isEmpty(), (name + different + " without the lane").constData());
            PngRows eight;
            eight.read(file, Lane::whereItFits, Depth::eight);
            QVERIFY(eight.begun == 0 || eight.header.format == QImage::Format_RGB888 ||
                    eight.header.format == QImage::Format_RGBA8888);
        }
    }

    void largePicturesCrossEveryBuffer_data()
    {
        QTest::addColumn<Picture>("picture");
        QTest::addRow("many bands") << Picture{.width = 1201, .height = 700, .colourType = 6};
        QTest::addRow("wide") << Picture{.width = 150'000, .height = 5};
        QTest::addRow("tall") << Picture{.width = 2, .height = 90'000};
        QTest::addRow("stored") << Picture{.width = 500, .height = 900, .level = 0};
        QTest::addRow("small IDAT chunks") << Picture{.width = 500, .height = 400, .idatLength = 97};
        QTest::addRow("one byte IDAT chunks") << Picture{.width = 60, .height = 40, .idatLength = 1};
    }

    void largePicturesCrossEveryBuffer()
    {
        QFETCH(Picture, picture);
        bool byLane = false;
        QCOMPARE(differenceFromLibpng(PngForge::file(picture), Lane::whereItFits, &byLane), QByteArray());
        QVERIFY(byLane);
    }

    void stopsBetweenRows()
    {
        for (const Lane lane : {Lane::whereItFits, Lane::never}) {
            PngRows got;
            got.stopAfter = 3;
            QCOMPARE(got.read(PngForge::file({.width = 30, .height = 30}), lane), Decoded::stopped);
            QCOMPARE(got.rows, 3);
        }
    }
};

QTEST_GUILESS_MAIN(tst_PngReader)
#include "tst_PngReader.moc"
