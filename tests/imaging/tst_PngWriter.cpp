#include "imaging/PngKernels.h"
#include "imaging/PngWriter.h"
#include "tests/support/PngReference.h"

#include <QBuffer>
#include <QColorSpace>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <sys/resource.h>

#include <csignal>

using namespace qm;

namespace {

// Pixels of several kinds, alpha included where the format has it.
QImage painted(const QString &kind, QSize size, QImage::Format format)
{
    QRandomGenerator random(7);
    QImage image(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            if (kind == QLatin1String("noise"))
                line[x] = random.generate();
            else if (kind == QLatin1String("gradient"))
                line[x] = qRgba(x * 3, y * 5, x + y, 255 - x % 200);
            else if (kind == QLatin1String("flat"))
                line[x] = 0xff336699;
            else // "windows": flat boxes with sparse marks
                line[x] = (x / 40 + y / 25) % 2 ? 0xfff0f0f0 : random.bounded(20) ? 0xff202428 : 0xffe0c020;
        }
    }
    return image.convertToFormat(format);
}

QList<QByteArray> chunkTypes(const QByteArray &png, quint32 *longest = nullptr)
{
    QList<QByteArray> types;
    for (qsizetype at = 8; at + 8 <= png.size();) {
        const quint32 length = qFromBigEndian<quint32>(png.constData() + at);
        types += png.mid(at + 4, 4);
        if (longest)
            *longest = qMax(*longest, length);
        at += length + 12;
    }
    return types;
}

} // namespace

class tst_PngWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { PngKernels::use(nullptr); }

    void readsBackBitForBit_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QImage::Format>("format");
        for (const char *kind : {"noise", "gradient", "flat", "windows"}) {
            QTest::addRow("%s opaque", kind) << QString::fromLatin1(kind) << QImage::Format_RGB32;
            QTest::addRow("%s with alpha", kind) << QString::fromLatin1(kind) << QImage::Format_ARGB32;
            QTest::addRow("%s premultiplied", kind) << QString::fromLatin1(kind) << QImage::Format_ARGB32_Premultiplied;
            QTest::addRow("%s in three bytes", kind) << QString::fromLatin1(kind) << QImage::Format_RGB888;
        }
    }

    void readsBackBitForBit()
    {
        QFETCH(QString, kind);
        QFETCH(QImage::Format, format);
        QList<QSize> sizes{{1, 1}, {1, 300}, {997, 3}, {640, 400}, {1, 1}};
        for (int width = 1; width <= 70; ++width)
            sizes += QSize(width, 9);
        for (const QSize size : sizes) {
            const QImage image = painted(kind, size, format);
            QByteArray written[2];
            for (const bool fast : {false, true}) {
                PngKernels::use(fast ? PngKernels::avx2() : &PngKernels::portable());
                written[fast] = PngWriter::encode({image, QSizeF(size)});
                const PngReference read = PngReference::read(written[fast]);
                QVERIFY2(!read.refused && read.wholeRows == size.height(), qPrintable(QString::number(size.width())));
                QCOMPARE(read.pixels,
                         image.convertToFormat(QImage::Format_ARGB32).convertToFormat(QImage::Format_RGBA8888));
            }
            QVERIFY2(written[0] == written[1], "both paths choose the same filters");
        }
    }

    void keepsResolutionAndProfile()
    {
        QImage image = painted(QStringLiteral("windows"), {60, 40}, QImage::Format_RGB32);
        image.setColorSpace(QColorSpace::DisplayP3);
        const PngReference read = PngReference::read(PngWriter::encode({image, QSizeF(30, 20)}));
        QCOMPARE(read.dotsPerMetre, 5669u);
        QCOMPARE(read.colorProfile, QColorSpace(QColorSpace::DisplayP3).iccProfile());
    }

    void picturesThatLookOpaqueHaveNoAlpha()
    {
        QImage image = painted(QStringLiteral("flat"), {50, 50}, QImage::Format_ARGB32);
        QCOMPARE(PngWriter::encode({image, {50, 50}}).at(25), char(2));
        image.setPixel(49, 49, 0xfe000000);
        QCOMPARE(PngWriter::encode({image, {50, 50}}).at(25), char(6));
    }

    void chunksAreSmallAndInOrder()
    {
        const QImage noise = painted(QStringLiteral("noise"), {1200, 900}, QImage::Format_ARGB32);
        quint32 longest = 0;
        const QList<QByteArray> types = chunkTypes(PngWriter::encode({noise, {1200, 900}}), &longest);
        QCOMPARE(types, (QList<QByteArray>{"IHDR", "pHYs", "IDAT", "IDAT", "IDAT", "IDAT", "IDAT", "IEND"}));
        QVERIFY(longest <= 1u << 20);
    }

    void heightIsSettledAtTheEnd()
    {
        const QImage image = painted(QStringLiteral("windows"), {300, 200}, QImage::Format_RGB32);
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        buffer.write("before"); // the file need not start at the device's start
        PngWriter writer(buffer, {300, {}, 72, true, {}});
        for (int y = 0; y < 200; y += 50)
            QVERIFY(writer.append(image.copy(0, y, 300, 50)));
        QVERIFY(writer.finish());
        const PngReference read = PngReference::read(buffer.data().mid(6));
        QCOMPARE(read.pixels, image.convertToFormat(QImage::Format_RGBA8888));
    }

    void rowsThatDoNotFitAreRefused_data()
    {
        QTest::addColumn<int>("height");
        QTest::addColumn<QSize>("rows");
        QTest::addRow("narrower") << 10 << QSize(9, 10);
        QTest::addRow("too many") << 10 << QSize(10, 11);
        QTest::addRow("too few") << 10 << QSize(10, 9);
        QTest::addRow("no height") << 0 << QSize(10, 1);
    }

    void rowsThatDoNotFitAreRefused()
    {
        QFETCH(int, height);
        QFETCH(QSize, rows);
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        PngWriter writer(buffer, {10, height, 72, true, {}});
        const bool appended = writer.append(painted(QStringLiteral("flat"), rows, QImage::Format_RGB32));
        QVERIFY(!(writer.finish() && appended));
        QVERIFY(!writer.finish());
    }

    void aFullDiskLeavesTheOldFileAndNoOther_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("limit");
        for (const int limit : {0, 20, 5000, 200'000, 3'000'000})
            QTest::addRow("%d bytes", limit) << QSize(1200, 700) << limit;
        QTest::addRow("all of it still in the buffer") << QSize(30, 20) << 0;
    }

    void aFullDiskLeavesTheOldFileAndNoOther()
    {
        QFETCH(QSize, size);
        QFETCH(int, limit);
        const QImage noise = painted(QStringLiteral("noise"), size, QImage::Format_ARGB32);
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("shot.png"));
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();

        rlimit whole{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &whole), 0);
        const rlimit tight{rlim_t(limit), whole.rlim_max};
        std::signal(SIGXFSZ, SIG_IGN); // the write fails instead, as on a full disk
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &tight), 0);
        const Outcome outcome = PngWriter::write(path, {noise, QSizeF(size)});
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &whole), 0);

        QVERIFY(!outcome);
        QVERIFY(!outcome.reason().isEmpty());
        QCOMPARE(QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral("shot.png")});
        QVERIFY(old.open(QIODevice::ReadOnly));
        QCOMPARE(old.readAll(), QByteArray("old"));
    }
};

QTEST_GUILESS_MAIN(tst_PngWriter)
#include "tst_PngWriter.moc"
