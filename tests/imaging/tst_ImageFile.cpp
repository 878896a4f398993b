#include "imaging/DecodeBudget.h"
#include "imaging/HeifStructure.h"
#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"
#include "imaging/RowSink.h"
#include "tests/support/Pixels.h"
#include "tests/support/PngForge.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QImageWriter>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QThreadPool>
#include <QtEndian>
#include <QtTest>

#include <sys/stat.h>

#include <atomic>

using namespace qm;
using ImageFile::Failure;
using PngForge::chunk;

namespace {

// Four flat quarters, none like another, so that turning and mirroring show.
QImage quarters(QSize size = {60, 40})
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const bool right = x >= size.width() / 2, low = y >= size.height() / 2;
            image.setPixel(x, y, low ? (right ? 0xffe0e020 : 0xff2020e0) : (right ? 0xff20e020 : 0xffe02020));
        }
    }
    return image;
}

// Checked in, where Qt does not write the format or not all that it can say.
QByteArray kept(const char *name)
{
    QFile file(QStringLiteral(QM_TEST_DATA "/formats/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray encoded(const QImage &image, const char *format, QImageIOHandler::Transformations turned = {})
{
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(95);
    writer.setCompression(1); // of TIFF
    writer.setTransformation(turned);
    return writer.write(image) ? buffer.data() : QByteArray();
}

// EXIF data with this orientation and resolution, as APP1 content without its length.
QByteArray exif(int orientation, int dpi)
{
    return QByteArray("Exif\0\0", 6) + QByteArray::fromHex("49492a0008000000 0300 1201 0300 01000000") +
           char(orientation) +
           QByteArray::fromHex("000000 1a01 0500 01000000 32000000 2801 0300 01000000 02000000 00000000") + char(dpi) +
           QByteArray::fromHex("000000 01000000");
}

// A JPEG with an APP1 segment right after its start, before JFIF's.
QByteArray withExif(const QByteArray &jpeg, const QByteArray &data)
{
    const quint16 length = qToBigEndian(quint16(data.size() + 2));
    return jpeg.left(2) + "\xff\xe1" + QByteArray(reinterpret_cast<const char *>(&length), 2) + data + jpeg.mid(2);
}

QByteArray withChunk(const QByteArray &png, const QByteArray &chunk)
{
    return png.left(33) + chunk + png.mid(33);
}

ImageFile::Result load(QByteArray file)
{
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    return ImageFile::load(buffer);
}

// Whether it is shown so, told by the middles of the quarters: codecs blur the borders. Its header says the same size.
bool shows(QByteArray file, const QImage &wanted)
{
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    bool same = ImageFile::probe(buffer) == wanted.size();
    const QImage image = load(file).image.pixels;
    for (const int x : {image.width() / 4, image.width() * 3 / 4}) {
        for (const int y : {image.height() / 4, image.height() * 3 / 4})
            same = same && Pixels::near(image.pixel(x, y), wanted.pixel(x, y), 12);
    }
    return same && image.size() == wanted.size();
}

} // namespace

class tst_ImageFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFormatOpens_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QColorSpace>("colours");
        const auto row = [](const char *name, const QByteArray &file, double scale = 1,
                            const QColorSpace &colours = {}) { QTest::newRow(name) << file << scale << colours; };
        const QColorSpace wide(QColorSpace::DisplayP3);
        QImage image = quarters();
        image.setColorSpace(wide);
        image.setDotsPerMeterX(5669);
        image.setDotsPerMeterY(5669);
        row("png", PngWriter::encode({image, {30, 20}}), 2, wide);
        row("tiff", encoded(image, "tiff"), 2, wide);
        row("webp", encoded(image, "webp"), 1, wide);
        row("webp, turned by its EXIF data", kept("quarters.webp"), 2);
        row("heic, colours in few words", kept("quarters.heic"), 2, wide);
        row("heic, by the brand of its container", kept("quarters.heic").replace(8, 4, "mif1"), 2, wide);
        row("gif", kept("quarters.gif"));
        row("webp, an animation turned by its EXIF data", kept("quarters.animated.webp"));
        row("jpeg of four inks, turned by its EXIF data", withExif(kept("quarters.cmyk.jpg"), exif(6, 72)));

        const QByteArray jpeg = encoded(image, "jpg");
        const auto density = [&](char unit, char dots) {
            QByteArray file = jpeg;
            file[13] = unit;
            file[14] = file[16] = 0;
            file[15] = file[17] = dots;
            return file;
        };
        row("jpeg", density(1, char(144)), 2, wide);
        row("jpeg of 96 dpi, as other systems call one pixel a point", density(1, 96), 1, wide);
        row("jpeg per centimetre", density(2, 85), 3, wide);
        row("jpeg, only EXIF says a resolution", withExif(density(0, 1), exif(1, 144)), 2, wide);
        const QByteArray plain = encoded(quarters(), "png"); // Qt says 96 dpi
        const QByteArray gamma = QByteArray::fromHex("0000c350");
        row("png, a gamma", withChunk(plain, chunk("gAMA", gamma)), 1, {QColorSpace::Primaries::SRgb, 2.0F});
        row("png, EXIF data the other way round",
            withChunk(
                encoded(quarters().mirrored(true, true), "png"),
                chunk("eXIf", QByteArray::fromHex("4d4d002a00000008 0001 0112 0003 00000001 00030000 00000000"))));
    }

    void everyFormatOpens()
    {
        QFETCH(QByteArray, file);
        QFETCH(double, scale);
        QFETCH(QColorSpace, colours);
        const Image image = load(file).image;
        QVERIFY(shows(file, quarters()));
        QCOMPARE(image.scale(), scale);
        QCOMPARE(image.pixels.colorSpace(), colours);
    }

    // Qt writes the numbers of TIFF, and reads those of JPEG: it is the judge of both.
    void orientationIsApplied()
    {
        static constexpr int turns[] = {0, 1, 3, 2, 6, 4, 5, 7}; // EXIF's numbers in Qt's terms
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const QByteArray jpeg = withExif(encoded(quarters(), "jpg"), exif(orientation, 72));
            QBuffer buffer;
            buffer.setData(jpeg);
            QImageReader reader(&buffer);
            reader.setAutoTransform(true);
            const QImage shown = reader.read();
            QVERIFY2(shows(jpeg, shown), qPrintable(QString::number(orientation)));
            const QByteArray chunkOfPng = chunk("eXIf", exif(orientation, 72).mid(6));
            QVERIFY(shows(withChunk(encoded(quarters(), "png"), chunkOfPng), shown));
            const auto turned = QImageIOHandler::Transformations(turns[orientation - 1]);
            QVERIFY(shows(encoded(quarters(), "tiff", turned), shown));
        }
    }

    // Written here, as Qt writes neither of them: little endian, in two strips, of which the second may lack rows.
    void alphaOfTiff()
    {
        const auto tiff = [](const QByteArray &pixels, int samples, int kindOfAlpha) {
            QByteArray file("II*\0", 4);
            const auto put = [&](auto... values) {
                ((file += QByteArray(reinterpret_cast<const char *>(&values), sizeof values)), ...);
            };
            const auto tag = [&](quint16 number, quint16 type, quint32 count, quint32 value) {
                put(number, type, count, value);
            };
            put(quint32(8), quint16(10));
            tag(256, 3, 1, 2);                                              // width
            tag(257, 3, 1, 2);                                              // height
            tag(258, 3, quint32(samples), samples == 2 ? 0x00080008 : 134); // bits per sample
            tag(262, 3, 1, samples == 2 ? 1 : 2);                           // grey or RGB
            tag(273, 4, 2, 142);                                            // where the strips are
            tag(274, 3, 1, 1);                                              // orientation
            tag(277, 3, 1, quint32(samples));
            tag(278, 3, 1, 1);   // rows per strip
            tag(279, 4, 2, 150); // their bytes
            tag(338, 3, 1, quint32(kindOfAlpha));
            put(quint32(0), quint32(0x00080008), quint32(0x00080008), quint32(158), quint32(158 + pixels.size() / 2),
                quint32(pixels.size() / 2), quint32(pixels.size() / 2));
            return file + pixels;
        };
        const QByteArray colours = QByteArray::fromHex("40201080 ff0000ff 00ff0040 00000000");
        const QByteArray greys = QByteArray::fromHex("4080 80ff 1040 0000");
        const auto pixels = [](const QByteArray &file) {
            const QImage image = load(file).image.pixels.convertToFormat(QImage::Format_ARGB32);
            QList<QRgb> all;
            for (int i = 0; i < image.width() * image.height(); ++i)
                all.append(image.pixel(i % 2, i / 2));
            return all;
        };
        using Pixels = QList<QRgb>;
        QCOMPARE(pixels(tiff(colours, 4, 2)), Pixels({0x80402010, 0xffff0000, 0x4000ff00, 0}));
        QCOMPARE(pixels(tiff(colours, 4, 1)).first(), 0x80804020);
        QCOMPARE(pixels(tiff(greys, 2, 2)), Pixels({0x80404040, 0xff808080, 0x40101010, 0}));
        QCOMPARE(pixels(tiff(greys, 2, 1)).first(), 0x80808080);
        const auto cut = load(tiff(colours, 4, 2).chopped(4));
        QVERIFY(cut.isCut && cut.image.pixels.pixel(0, 0) == 0x80402010);
    }

    void sixteenBitsStay()
    {
        QImage image(20, 10, QImage::Format_RGBA64);
        image.fill(QColor::fromRgba64(qRgba64(0x1234, 0xabcd, 0x00ff, 0x8001)));
        QCOMPARE(load(encoded(image, "png")).image.pixels, image);
    }

    void bombsAreRefused()
    {
        const QByteArray square = QByteArray::fromHex("0000ea60 0000ea60 08 02 00 00 00"); // 60,000 pixels
        const QByteArray png = QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", square) + chunk("IDAT", "x");
        QByteArray gif = kept("quarters.gif"), jpeg = encoded(quarters(), "jpg");
        gif.replace(6, 4, "\xff\xff\xff\xff"); // of the screen, and of the picture on it
        gif.replace(gif.indexOf(',') + 5, 4, "\xff\xff\xff\xff");
        jpeg.replace(jpeg.indexOf("\xff\xc0") + 5, 4, "\xfe\xfe\xfe\xfe");
        for (const QByteArray &file : {png, gif, jpeg})
            QCOMPARE(load(file).failure, Failure::tooLarge);

        // A pass over the whole picture with every few bytes.
        QBuffer buffer;
        QImageWriter writer(&buffer, "jpg");
        writer.setProgressiveScanWrite(true);
        QVERIFY(writer.write(quarters()));
        const qsizetype scan = buffer.data().lastIndexOf("\xff\xda");
        const QByteArray passes = buffer.data().mid(scan).chopped(2).repeated(1000);
        QCOMPARE(load(buffer.data().left(scan) + passes + "\xff\xd9").failure, Failure::undecodable);
    }

    // What can only be decoded as a whole, in few bytes.
    void weaponsAreRefused()
    {
        const auto png = [](int width, int colourType) {
            const PngForge::Picture picture{
                .width = width, .height = 8000, .colourType = colourType, .interlaced = true};
            return PngForge::file(picture, {}, PngForge::deflated(QByteArray(9000, 0), 9));
        };
        const auto jpeg = [](const char *size) {
            QBuffer buffer;
            QImageWriter writer(&buffer, "jpg");
            writer.setProgressiveScanWrite(true);
            QByteArray file = writer.write(quarters()) ? buffer.data() : QByteArray();
            return file.replace(file.indexOf("\xff\xc2") + 5, 4, QByteArray::fromHex(size));
        };
        const auto heic = [](const char *before, const char *after) {
            return kept("quarters.heic").replace(QByteArray::fromHex(before), QByteArray::fromHex(after));
        };
        const std::tuple<const char *, QByteArray, Failure> rows[] = {
            {"png, as large as can be", png(8000, 0), Failure::none},
            {"png, a column more", png(8001, 0), Failure::tooLarge},
            {"png, few pixels, but in more colours than there is memory", png(8000, 6), Failure::tooLarge},
            {"jpeg, as large as can be", jpeg("1f401f40"), Failure::none},
            {"jpeg, the one of 1.2 GB", jpeg("373e373e"), Failure::tooLarge},
            {"heic, put together from tiles", heic("00000000003c0028", "0000000075307530"), Failure::tooLarge},
            {"heic, another size inside", heic("90041020b2dd5c94", "9000040010002001"), Failure::tooLarge},
        };
        for (const auto &[name, file, failure] : rows)
            QVERIFY2(load(file).failure == failure, name);
        const QSize largest(2'147'483'647, 2'147'483'647);
        QVERIFY(PictureHeader::paddedBytes(largest, QImage::Format_RGBA64) > DecodeBudget::shared().all());
        QCOMPARE(HeifStructure::largestPicture(kept("quarters.heic")), 64 * 64);                     // one tile
        const char *ends = "000000226d65746100000000 0000001669696e66000000000001 00000008696e6665"; // within an item
        QCOMPARE(HeifStructure::largestPicture(QByteArray::fromHex(ends)), 0);
        QVERIFY(!HeifStructure::largestPicture(heic("000001372801", "000001370201"))); // refers to other pictures
    }

    void memoryIsShared()
    {
        const QByteArray file = encoded(quarters(), "png");
        QThreadPool pool;
        Failure later = Failure::missing;
        {
            const auto everything = DecodeBudget::shared().take(DecodeBudget::shared().all());
            QCOMPARE(load(file).failure, Failure::busy);
            QSemaphore begun;
            pool.start([&] {
                begun.release();
                later = load(file).failure; // waits
            });
            begun.acquire();
        }
        pool.waitForDone();
        QCOMPARE(later, Failure::none);

        DecodeBudget budget(1 << 20);
        std::atomic<qint64> taken = 0, most = 0;
        std::atomic<int> nested = 0;
        pool.setMaxThreadCount(4);
        for (int i = 0; i < 4; ++i) {
            pool.start([&, i] {
                QRandomGenerator random(quint32(i) + 1);
                for (int round = 0; round < 300; ++round) {
                    const qint64 bytes = round % 10 ? random.bounded(1, 300'000) : budget.all();
                    const auto share = budget.take(bytes);
                    const qint64 now = taken += bytes;
                    most = qMax<qint64>(most, now);
                    nested += bool(budget.take(budget.all()));
                    taken -= bytes;
                }
            });
        }
        pool.waitForDone();
        QVERIFY(most <= budget.all());
        QCOMPARE(nested, 0);
        QVERIFY(!budget.take(budget.all() + 1) && budget.take(budget.all()));
    }

    void largePicturesOpen()
    {
        QImage large(6000, 6000, QImage::Format_RGB32); // 144 MB, over Qt's own limit, in a format that it reads
        large.fill(0xff204060);
        QCOMPARE(load(encoded(large, "tiff")).image.pixels.convertToFormat(QImage::Format_RGB32), large);
    }

    void cutFilesAreShownAsFarAsTheyGo()
    {
        for (const char *format : {"png", "jpg", "webp"}) {
            const QByteArray file = encoded(quarters({400, 300}), format);
            QVERIFY(!load(file).image.isNull()); // leaves its colours in freed memory
            const QImage shown = load(file.chopped(file.size() / 5)).image.pixels;
            QCOMPARE(shown.size(), QSize(400, 300));
            QVERIFY(Pixels::near(shown.pixel(100, 20), 0xffe02020, 12));
            QVERIFY(Pixels::near(shown.pixel(300, 20), 0xff20e020, 12));
            QVERIFY2(Pixels::near(shown.pixel(300, 299), 0, 128), format);
        }
    }

    // Every format cut at many places and with bytes changed: any answer, but no crash and no sanitizer's complaint.
    void damageIsSurvived()
    {
        QRandomGenerator random(5);
        const QByteArray jpeg = encoded(quarters(), "jpg");
        for (const QByteArray &file : {jpeg, withExif(jpeg, exif(6, 144)), encoded(quarters(), "webp"),
                                       encoded(quarters(), "tiff"), kept("quarters.webp"), kept("quarters.heic")}) {
            for (int round = 0; round < 60; ++round) {
                QByteArray damaged = file.left(random.bounded(1, int(file.size()) + 1));
                for (int i = random.bounded(4); i > 0; --i)
                    damaged[random.bounded(int(damaged.size()))] = char(random.bounded(256));
                const ImageFile::Result result = load(damaged);
                QVERIFY(result.failure != Failure::none || !result.image.isNull());
            }
        }
    }

    void whatIsNoPictureFails()
    {
        QCOMPARE(load("no picture").failure, Failure::undecodable);
        QCOMPARE(load({}).failure, Failure::undecodable);
        QCOMPARE(ImageFile::load(QStringLiteral("/nowhere/at/all.png")).failure, Failure::missing);
        QTemporaryDir folder; // a pipe would be waited for
        const QString pipe = folder.filePath(QStringLiteral("pipe.png"));
        QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
        QCOMPARE(ImageFile::load(pipe).failure, Failure::missing);
    }
};

QTEST_GUILESS_MAIN(tst_ImageFile)
#include "tst_ImageFile.moc"
