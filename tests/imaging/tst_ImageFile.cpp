#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"
#include "tests/support/PngForge.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <libheif/heif.h>

using namespace qm;
using ImageFile::Failure;

namespace {

// Four flat quarters, none like another, so that turning and mirroring show.
QImage quarters(QSize size)
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

QByteArray encoded(const QImage &image, const char *format)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, format, 95) ? buffer.data() : QByteArray();
}

heif_error append(heif_context *, const void *data, size_t size, void *to)
{
    static_cast<QByteArray *>(to)->append(static_cast<const char *>(data), qsizetype(size));
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
}

QByteArray heic(const QImage &image)
{
    QByteArray file;
    heif_context *context = heif_context_alloc();
    heif_encoder *encoder = nullptr;
    heif_image *pixels = nullptr;
    heif_image_create(image.width(), image.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB, &pixels);
    heif_image_add_plane(pixels, heif_channel_interleaved, image.width(), image.height(), 24);
    int stride = 0;
    uint8_t *plane = heif_image_get_plane(pixels, heif_channel_interleaved, &stride);
    const QImage packed = image.convertToFormat(QImage::Format_RGB888);
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(plane + y * stride, packed.constScanLine(y), size_t(image.width()) * 3);
    if (heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code == heif_error_Ok) {
        heif_encoder_set_lossy_quality(encoder, 95);
        heif_context_encode_image(context, pixels, encoder, nullptr, nullptr);
        heif_writer writer{1, &append};
        heif_context_write(context, &writer, &file);
        heif_encoder_release(encoder);
    }
    heif_image_release(pixels);
    heif_context_free(context);
    return file;
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

ImageFile::Result load(const QByteArray &file)
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    return ImageFile::load(buffer);
}

std::optional<QSize> probe(const QByteArray &file)
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    return ImageFile::probe(buffer);
}

bool similar(QRgb a, QRgb b, int by = 12)
{
    return qAbs(qRed(a) - qRed(b)) <= by && qAbs(qGreen(a) - qGreen(b)) <= by && qAbs(qBlue(a) - qBlue(b)) <= by;
}

// Compares the middles of the quarters: codecs blur the borders.
bool sameQuarters(const QImage &a, const QImage &b)
{
    for (const QPointF at : {QPointF(0.25, 0.25), QPointF(0.75, 0.25), QPointF(0.25, 0.75), QPointF(0.75, 0.75)}) {
        const QPoint pixel(int(at.x() * a.width()), int(at.y() * a.height()));
        if (!similar(a.pixel(pixel), b.pixel(pixel)))
            return false;
    }
    return a.size() == b.size();
}

QByteArray sizedPng(quint32 width, quint32 height)
{
    QByteArray file = PngForge::file({.width = int(width), .height = 1, .filter = 0}, {}, "x");
    qToBigEndian(height, file.data() + 20);
    return file.left(16) + file.mid(16, 13) + PngForge::chunk("IHDR", file.mid(16, 13)).right(4) + file.mid(33);
}

} // namespace

class tst_ImageFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFormatOpens_data()
    {
        QTest::addColumn<QByteArray>("file");
        const QImage image = quarters({64, 40});
        QTest::addRow("png") << encoded(image, "png");
        QTest::addRow("jpeg") << encoded(image, "jpg");
        QTest::addRow("webp") << encoded(image, "webp");
        QTest::addRow("tiff") << encoded(image, "tiff");
        QTest::addRow("heic") << heic(image);
        // Qt does not write GIF: 64 x 40 in four colours, by hand.
        QByteArray gif("GIF89a\x40\x00\x28\x00\x91\x00\x00", 13);
        gif += QByteArray::fromHex("e02020 20e020 2020e0 e0e020 2c00000000400028000002");
        QByteArray pixels; // with the clear code before every third pixel the codes stay three bits wide
        quint32 bits = 0;
        int held = 0;
        const auto put = [&](quint32 code) {
            bits |= code << held;
            for (held += 3; held >= 8; held -= 8, bits >>= 8)
                pixels += char(bits & 0xff);
        };
        int count = 0;
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 64; ++x) {
                if (count++ % 2 == 0)
                    put(4);
                put(quint32(y >= 20) * 2 + quint32(x >= 32));
            }
        }
        put(5);
        pixels += char(bits);
        for (int at = 0; at < pixels.size(); at += 255)
            gif += char(qMin<qsizetype>(255, pixels.size() - at)) + pixels.mid(at, 255);
        QTest::addRow("gif") << gif + QByteArray("\0;", 2);
    }

    void everyFormatOpens()
    {
        QFETCH(QByteArray, file);
        QVERIFY(!file.isEmpty());
        const ImageFile::Result result = load(file);
        QCOMPARE(result.failure, Failure::none);
        QVERIFY(sameQuarters(result.image.pixels, quarters({64, 40})));
        QCOMPARE(result.image.size, QSizeF(64, 40)); // whatever the screen's resolution
        QCOMPARE(probe(file), QSize(64, 40));
    }

    void resolutionGivesTheScale_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<double>("scale");
        QImage image = quarters({64, 40});
        const QByteArray jfif = encoded(image, "jpg");
        const auto density = [&](char unit, char dots) {
            QByteArray file = jfif;
            file[13] = unit;
            file[14] = file[16] = 0;
            file[15] = file[17] = dots;
            return file;
        };
        QTest::addRow("png 144") << PngWriter::encode({image, QSizeF(32, 20)}) << 2.0;
        QTest::addRow("jfif 144") << density(1, char(144)) << 2.0;
        QTest::addRow("jfif 96") << density(1, 96) << 1.0;
        QTest::addRow("jfif per centimetre") << density(2, 85) << 3.0;
        QTest::addRow("jfif silent, exif 144") << withExif(density(0, 1), exif(1, 144)) << 2.0;
        image.setDotsPerMeterX(5669);
        image.setDotsPerMeterY(5669);
        QTest::addRow("tiff 144") << encoded(image, "tiff") << 2.0;
    }

    void resolutionGivesTheScale()
    {
        QFETCH(QByteArray, file);
        QFETCH(double, scale);
        QCOMPARE(load(file).image.scale(), scale);
    }

    void orientationIsApplied_data()
    {
        QTest::addColumn<int>("orientation");
        for (int orientation = 1; orientation <= 8; ++orientation)
            QTest::addRow("%d", orientation) << orientation;
    }

    void orientationIsApplied()
    {
        QFETCH(int, orientation);
        const QImage shown = quarters({64, 40});
        const bool turned = orientation > 4;
        // Where the shown picture's upper left and upper right lie in the stored one, as EXIF defines the numbers.
        static constexpr Qt::Corner upperLeft[] = {Qt::TopLeftCorner,     Qt::TopRightCorner, Qt::BottomRightCorner,
                                                   Qt::BottomLeftCorner,  Qt::TopLeftCorner,  Qt::BottomLeftCorner,
                                                   Qt::BottomRightCorner, Qt::TopRightCorner};
        static constexpr Qt::Corner upperRight[] = {Qt::TopRightCorner,    Qt::TopLeftCorner,    Qt::BottomLeftCorner,
                                                    Qt::BottomRightCorner, Qt::BottomLeftCorner, Qt::TopLeftCorner,
                                                    Qt::TopRightCorner,    Qt::BottomRightCorner};
        QImage stored(turned ? QSize(40, 64) : QSize(64, 40), QImage::Format_RGB32);
        const QPointF left(upperLeft[orientation - 1] & 1, upperLeft[orientation - 1] >> 1);
        const QPointF right(upperRight[orientation - 1] & 1, upperRight[orientation - 1] >> 1);
        const QPointF across = right - left, down(turned ? 1 - 2 * left.x() : 0, turned ? 0 : 1 - 2 * left.y());
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 64; ++x) {
                const QPointF at = left + across * (x + 0.5) / 64 + down * (y + 0.5) / 40;
                stored.setPixel(int(at.x() * stored.width()), int(at.y() * stored.height()), shown.pixel(x, y));
            }
        }
        const QByteArray jpeg = withExif(encoded(stored, "jpg"), exif(orientation, 72));
        QVERIFY(sameQuarters(load(jpeg).image.pixels, shown));
        QCOMPARE(probe(jpeg), shown.size());
        const QByteArray png = encoded(stored, "png");
        const QByteArray chunk = PngForge::chunk("eXIf", exif(orientation, 72).mid(6));
        QCOMPARE(load(png.left(33) + chunk + png.mid(33)).image.pixels, shown);
        // Qt's own reading of the JPEG agrees.
        QBuffer buffer;
        buffer.setData(jpeg);
        QImageReader reader(&buffer);
        reader.setAutoTransform(true);
        QVERIFY(sameQuarters(reader.read(), shown));
    }

    void colourProfilesAreKept_data()
    {
        QTest::addColumn<QByteArray>("format");
        for (const char *format : {"png", "jpg", "webp", "tiff"})
            QTest::addRow("%s", format) << QByteArray(format);
    }

    void colourProfilesAreKept()
    {
        QFETCH(QByteArray, format);
        QImage image = quarters({64, 40});
        image.setColorSpace(QColorSpace::DisplayP3);
        QCOMPARE(load(encoded(image, format.constData())).image.pixels.colorSpace(),
                 QColorSpace(QColorSpace::DisplayP3));
    }

    void sixteenBitsStay()
    {
        QImage image(20, 10, QImage::Format_RGBA64);
        image.fill(QColor::fromRgba64(qRgba64(0x1234, 0xabcd, 0x00ff, 0x8001)));
        const ImageFile::Result result = load(encoded(image, "png"));
        QCOMPARE(result.image.pixels, image);
    }

    void bombsAreRefusedBeforeAnythingIsAllocated_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addRow("png") << sizedPng(60'000, 60'000);
        QByteArray gif("GIF89a\xff\xff\xff\xff\x80\x00\x00\xff\xff\xff\x00\x00\x00", 19);
        gif += QByteArray("\x2c\x00\x00\x00\x00\xff\xff\xff\xff\x00\x02\x01\x44\x00;", 16);
        QTest::addRow("gif") << gif;
        QByteArray jpeg = encoded(quarters({64, 40}), "jpg");
        const qsizetype frame = jpeg.indexOf("\xff\xc0");
        jpeg.replace(frame + 5, 4, "\xfe\xfe\xfe\xfe"); // height and width
        QTest::addRow("jpeg") << jpeg;
    }

    void bombsAreRefusedBeforeAnythingIsAllocated()
    {
        QFETCH(QByteArray, file);
        QCOMPARE(load(file).failure, Failure::tooLarge);
    }

    void aTallScrollingCaptureOpens()
    {
        QImage tall(1440, 30'000, QImage::Format_RGB32); // 173 MB, over Qt's own limit
        tall.fill(0xff204060);
        const ImageFile::Result result = load(PngWriter::encode({tall, QSizeF(720, 15'000)}));
        QCOMPARE(result.failure, Failure::none);
        QCOMPARE(result.image.pixels, tall);
    }

    void cutFilesAreShownAsFarAsTheyGo_data()
    {
        QTest::addColumn<QByteArray>("file");
        const QImage image = quarters({400, 300});
        QTest::addRow("png") << encoded(image, "png");
        QTest::addRow("jpeg") << encoded(image, "jpg");
        QTest::addRow("webp") << encoded(image, "webp");
    }

    void cutFilesAreShownAsFarAsTheyGo()
    {
        QFETCH(QByteArray, file);
        const ImageFile::Result result = load(file.left(file.size() * 4 / 5));
        QCOMPARE(result.failure, Failure::none);
        QCOMPARE(result.image.pixels.size(), QSize(400, 300));
        QVERIFY(similar(result.image.pixels.pixel(100, 20), 0xffe02020));
        QVERIFY(similar(result.image.pixels.pixel(300, 20), 0xff20e020));
    }

    // Every format cut at many places and with bytes changed: any answer, but no crash and no sanitizer's complaint.
    void damageIsSurvived()
    {
        QRandomGenerator random(5);
        const QImage image = quarters({64, 40});
        for (const QByteArray &file :
             {encoded(image, "png"), encoded(image, "jpg"), encoded(image, "webp"), encoded(image, "tiff"), heic(image),
              withExif(encoded(image, "jpg"), exif(6, 144))}) {
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
        QCOMPARE(probe("no picture"), std::nullopt);
        QCOMPARE(ImageFile::load(QStringLiteral("/nowhere/at/all.png")).failure, Failure::missing);
    }
};

QTEST_GUILESS_MAIN(tst_ImageFile)
#include "tst_ImageFile.moc"
