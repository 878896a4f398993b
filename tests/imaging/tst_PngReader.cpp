#include "imaging/PngKernels.h"
#include "imaging/PngReader.h"
#include "imaging/PngWriter.h"
#include "tests/support/PngForge.h"
#include "tests/support/PngReference.h"

#include <QBuffer>
#include <QRandomGenerator>
#include <QtEndian>
#include <QtTest>

using namespace qm;
using PngForge::Picture;
using PngReader::Depth;
using PngReader::Lane;

namespace {

// Collects rows, and how often the reader began.
class Collector : public RowSink
{
public:
    bool begin(const PictureHeader &h) override
    {
        ++begun;
        header = h;
        rows = 0;
        pixels = QImage(h.rows, h.format);
        pixels.fill(0);
        return !pixels.isNull();
    }
    bool add(const uchar *row) override
    {
        std::memcpy(pixels.scanLine(rows++), row, size_t(pixels.width()) * size_t(pixels.depth()) / 8);
        return rows != stopAfter;
    }
    bool addWhole(const QImage &) override { return false; }

    PictureHeader header;
    QImage pixels;
    int begun = 0;
    int rows = 0;
    int stopAfter = -1;
};

Decoded read(const QByteArray &file, Collector &into, Lane lane, Depth depth = Depth::file)
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    return PngReader::read(buffer, depth, into, lane);
}

// Empty when our reading equals libpng's, pixels and refusal both.
QByteArray difference(const QByteArray &file, Lane lane, bool *byLane = nullptr)
{
    const PngReference wanted = PngReference::read(file);
    Collector got;
    const Decoded decoded = read(file, got, lane);
    if (byLane)
        *byLane = decoded == Decoded::whole && got.begun == 1 && lane == Lane::whereItFits;
    const bool refused = decoded == Decoded::nothing;
    if (refused != wanted.refused)
        return refused ? "we refuse, libpng reads" : "libpng refuses, we read";
    if (refused)
        return {};
    if (wanted.wholeRows < wanted.pixels.height() && wanted.wholeRows != got.rows && wanted.wholeRows > 0)
        return "libpng gave " + QByteArray::number(wanted.wholeRows) + " rows, we " + QByteArray::number(got.rows);
    if ((decoded == Decoded::whole) != (wanted.wholeRows == wanted.pixels.height()))
        return "one of us thinks the file is damaged";
    // Rows that never came have no alpha in the reference, and full alpha where our format has none.
    const bool colourOnly = decoded == Decoded::cut && !got.pixels.hasAlphaChannel();
    const QImage::Format format = !colourOnly                                         ? wanted.pixels.format()
                                  : wanted.pixels.format() == QImage::Format_RGBA8888 ? QImage::Format_RGBX8888
                                                                                      : QImage::Format_RGBX64;
    QImage reference = wanted.pixels;
    reference.reinterpretAsFormat(QImage::Format(format));
    for (int y = 0; colourOnly && y < reference.height(); ++y) {
        for (int x = 0; x < reference.width(); ++x)
            reference.setPixelColor(x, y, wanted.pixels.pixelColor(x, y).rgb());
    }
    return got.pixels.convertToFormat(format) == reference ? QByteArray() : QByteArray("different pixels");
}

} // namespace

class tst_PngReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { PngKernels::use(nullptr); }

    // Every width up to 70, both kinds, each filter alone and mixed, on both paths; the lane itself must have done it.
    void theLaneEqualsLibpng_data()
    {
        QTest::addColumn<bool>("fast");
        QTest::addColumn<int>("filter");
        for (const bool fast : {false, true}) {
            for (int filter = -1; filter <= 4; ++filter)
                QTest::addRow("%s, filter %d", fast ? "SIMD" : "portable", filter) << fast << filter;
        }
    }

    void theLaneEqualsLibpng()
    {
        QFETCH(bool, fast);
        QFETCH(int, filter);
        if (fast && !PngKernels::avx2())
            QSKIP("this processor has no AVX2");
        PngKernels::use(fast ? PngKernels::avx2() : &PngKernels::portable());
        for (int width = 1; width <= 70; ++width) {
            for (const int colourType : {2, 6}) {
                const Picture picture{
                    .width = width, .height = 12, .colourType = colourType, .filter = filter, .seed = quint32(width)};
                bool byLane = false;
                QCOMPARE(difference(PngForge::file(picture), Lane::whereItFits, &byLane), QByteArray());
                QVERIFY2(byLane, qPrintable(QStringLiteral("width %1 fell back").arg(width)));
            }
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
        for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
            PngKernels::use(kernels);
            bool byLane = false;
            QCOMPARE(difference(PngForge::file(picture), Lane::whereItFits, &byLane), QByteArray());
            QVERIFY(byLane);
        }
    }

    void oddFilesAreWhatLibpngMakesOfThem_data()
    {
        QTest::addColumn<QByteArray>("file");
        const auto files = PngForge::oddities();
        for (const auto &[name, file] : files)
            QTest::addRow("%s", name.constData()) << file;
    }

    void oddFilesAreWhatLibpngMakesOfThem()
    {
        QFETCH(QByteArray, file);
        for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
            PngKernels::use(kernels);
            QCOMPARE(difference(file, Lane::whereItFits), QByteArray());
        }
        QCOMPARE(difference(file, Lane::never), QByteArray());
    }

    void everyKindOfPngIsRead()
    {
        const std::pair<int, QList<int>> kinds[] = {
            {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}}};
        for (const auto &[colourType, depths] : kinds) {
            for (const int depth : depths) {
                for (const bool interlaced : {false, true}) {
                    for (const int width : {1, 5, 33}) {
                        Picture picture{.width = width,
                                        .height = 13,
                                        .bitDepth = depth,
                                        .colourType = colourType,
                                        .interlaced = interlaced};
                        if (colourType == 3) // other filters than None would leave the palette
                            picture.filter = 0;
                        const QByteArray name = QByteArray::number(colourType) + ' ' + QByteArray::number(depth);
                        QByteArray different = difference(PngForge::file(picture), Lane::whereItFits);
                        QVERIFY2(different.isEmpty(), (name + ": " + different).constData());
                        Collector eight;
                        QCOMPARE(read(PngForge::file(picture), eight, Lane::whereItFits, Depth::eight), Decoded::whole);
                        QVERIFY(eight.header.format == QImage::Format_RGB888 ||
                                eight.header.format == QImage::Format_RGBA8888);
                    }
                }
            }
        }
    }

    // Random damage to the compressed data, checksums put right again, so that it reaches the inflaters.
    void damagedStreamsAreWhatLibpngMakesOfThem()
    {
        QRandomGenerator random(11);
        const Picture picture{.width = 40, .height = 60, .colourType = 6};
        const QByteArray raw = PngForge::rows(picture);
        for (int round = 0; round < 3000; ++round) {
            QByteArray stream = PngForge::deflated(raw, 1 + random.bounded(9));
            for (int i = random.bounded(1, 4); i > 0; --i)
                stream[random.bounded(int(stream.size()))] = char(random.bounded(256));
            const QByteArray file = PngForge::file(picture, {}, stream);
            QVERIFY2(difference(file, Lane::whereItFits).isEmpty(), qPrintable(QString::number(round)));
        }
    }

    void stopsBetweenRows()
    {
        for (const Lane lane : {Lane::whereItFits, Lane::never}) {
            Collector got;
            got.stopAfter = 3;
            QCOMPARE(read(PngForge::file({.width = 30, .height = 30}), got, lane), Decoded::stopped);
            QCOMPARE(got.rows, 3);
        }
    }

    void theHeaderSaysResolutionColoursAndOrientation()
    {
        QImage image(8, 6, QImage::Format_RGB32);
        image.fill(Qt::red);
        image.setColorSpace(QColorSpace::DisplayP3);
        Collector got;
        QCOMPARE(read(PngWriter::encode({image, QSizeF(4, 3)}), got, Lane::whereItFits), Decoded::whole);
        QCOMPARE(scaleForDpi(got.header.dpi), 2);
        QCOMPARE(got.header.colorSpace, QColorSpace(QColorSpace::DisplayP3));
        const QByteArray exif = QByteArray::fromHex("4d4d002a00000008 0001 0112 0003 00000001 00060000 00000000");
        Collector turned;
        read(PngForge::file({.width = 8, .height = 6}, PngForge::chunk("eXIf", exif)), turned, Lane::whereItFits);
        QCOMPARE(turned.header.orientation, 6);
    }
};

QTEST_GUILESS_MAIN(tst_PngReader)
#include "tst_PngReader.moc"
