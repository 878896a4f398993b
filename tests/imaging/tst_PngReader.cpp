#include "imaging/PngKernels.h"
#include "tests/imaging/PngComparison.h"
#include "tests/support/PngForge.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace qm;
using PngForge::Picture;
using PngReader::Lane;

class tst_PngReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { PngKernels::use(nullptr); }

    // Every kind of PNG, whole and damaged, by both sets of kernels and without the lane: libpng is the judge. First those
    // that cross every buffer: many bands, wide, tall, stored, in small chunks and in chunks of a byte.
    void equalsLibpng()
    {
        QList<Picture> pictures{{.width = 1201, .height = 700, .colourType = 6},
                                {.width = 150'000, .height = 5},
                                {.width = 2, .height = 90'000},
                                {.width = 500, .height = 900, .level = 0},
                                {.width = 500, .height = 400, .idatLength = 97},
                                {.width = 60, .height = 40, .idatLength = 1}};
        QRandomGenerator random(11);
        while (pictures.size() < 3000)
            pictures << PngForge::anyPicture(random);
        for (int round = 0; round < 2 * pictures.size(); ++round) {
            const Picture &picture = pictures[round / 2];
            const bool damaged = round % 2;
            const bool fits =
                picture.bitDepth == 8 && !picture.interlaced && (picture.colourType == 2 || picture.colourType == 6);
            const QByteArray file = damaged ? PngForge::damagedFile(picture, random) : PngForge::file(picture);
            const QByteArray name = "round " + QByteArray::number(round) + ": ";
            for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
                PngKernels::use(kernels);
                bool byLane = false;
                const QByteArray different = differenceFromLibpng(file, Lane::whereItFits, &byLane);
                QVERIFY2(different.isEmpty(), (name + different).constData());
                QVERIFY2(damaged || !fits || byLane, (name + "fell back").constData());
            }
            const QByteArray different = differenceFromLibpng(file, Lane::never);
            QVERIFY2(different.isEmpty(), (name + different + " without the lane").constData());
        }
    }
};

QTEST_GUILESS_MAIN(tst_PngReader)
#include "tst_PngReader.moc"
