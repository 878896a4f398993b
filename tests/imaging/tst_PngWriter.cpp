#include "imaging/PngKernels.h"
#include "imaging/PngWriter.h"
#include "tests/support/FullDisk.h"
#include "tests/support/PngReference.h"

#include <QBuffer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

using namespace qm;

namespace {

enum Kind { noise, gradient, tones, windows }; // two tones at random; flat boxes with sparse marks

// Alpha included where the format has it.
QImage painted(Kind kind, QSize size, QImage::Format format)
{
    QRandomGenerator random(7);
    QImage image(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const QRgb window = (x / 40 + y / 25) % 2 ? 0xfff0f0f0 : random.bounded(20) ? 0xff202428 : 0xffe0c020;
            const QRgb kinds[] = {random.generate(), qRgba(x * 3, y * 5, x + y, 254 - x % 200),
                                  0xff336699 + random.bounded(2), window};
            image.setPixel(x, y, kinds[kind]);
        }
    }
    return image.convertToFormat(format);
}

QImage rgba(const QImage &image)
{
    return image.convertToFormat(QImage::Format_ARGB32).convertToFormat(QImage::Format_RGBA8888);
}

} // namespace

class tst_PngWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { PngKernels::use(nullptr); }

    // On both paths, which choose the same filters. The largest fills several chunks; alpha is only written where it shows.
    void readsBackBitForBit()
    {
        QList<QSize> sizes{{1, 300}, {997, 3}, {640, 400}, {900, 700}};
        for (int width = 1; width <= 70; ++width)
            sizes += QSize(width, 9);
        for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied,
                                  QImage::Format_RGB888}) {
            for (const QSize size : sizes) {
                for (const Kind kind : {noise, gradient, tones, windows}) {
                    const QImage image = painted(kind, size, format);
                    const char type = image.hasAlphaChannel() && (kind == noise || kind == gradient) ? 6 : 2;
                    QByteArray written[2];
                    for (const bool fast : {false, true}) {
                        PngKernels::use(fast ? PngKernels::avx2() : &PngKernels::portable());
                        written[fast] = PngWriter::encode({image, QSizeF(size)});
                        const PngReference read = PngReference::read(written[fast]);
                        QVERIFY2(!read.refused && read.wholeRows == size.height(), qPrintable(QDebug::toString(image)));
                        QCOMPARE(read.pixels, rgba(image));
                    }
                    QVERIFY(written[0] == written[1] && written[0].at(25) == type);
                }
            }
        }
    }

    void heightIsSettledAtTheEnd()
    {
        const QImage image = painted(windows, {300, 200}, QImage::Format_RGB32);
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        buffer.write("before"); // the file need not start at the device's start
        PngWriter writer(buffer, {300, {}, 72, true, {}});
        for (int y = 0; y < 200; y += 50)
            QVERIFY(writer.append(image.copy(0, y, 300, 50)));
        QVERIFY(writer.finish());
        QCOMPARE(PngReference::read(buffer.data().mid(6)).pixels, rgba(image));
    }

    void rowsThatDoNotFitAreRefused()
    {
        // Narrower, too many, too few, and no height.
        for (const auto &[height, rows] : {std::pair(10, QSize(9, 10)), {10, {10, 11}}, {10, {10, 9}}, {0, {10, 1}}}) {
            QBuffer buffer;
            QVERIFY(buffer.open(QIODevice::WriteOnly));
            PngWriter writer(buffer, {10, height, 72, true, {}});
            const bool appended = writer.append(painted(tones, rows, QImage::Format_RGB32));
            QVERIFY(!(writer.finish() && appended));
            QVERIFY(!writer.finish());
        }
    }

    // A picture that was grey, or of four inks, and was converted may still carry the profile of what it was.
    void onlyProfilesOfRgbAreWritten()
    {
        const QImage rows(4, 1, QImage::Format_RGB32);
        for (const char *colors : {"RGB ", "GRAY", "CMYK"}) {
            QBuffer out;
            out.open(QIODevice::WriteOnly);
            PngWriter writer(
                out, {.width = 4, .height = 1, .colorProfile = QByteArray(16, 0) + colors + QByteArray(108, 0)});
            QVERIFY(writer.append(rows) && writer.finish());
            QCOMPARE(out.data().contains("iCCP"), colors == QByteArray("RGB "));
        }
    }

    void aFullDiskLeavesTheOldFileAndNoOther()
    {
        const QImage large = painted(noise, {1200, 700}, QImage::Format_ARGB32), small = large.copy(0, 0, 30, 20);
        for (const auto &[picture, room] : {std::pair(large, 0),
                                            {large, 20},
                                            {large, 5000},
                                            {large, 200'000},
                                            {large, 3'000'000},
                                            {small, 0}}) { // the last: all of it still in the buffer
            QTemporaryDir folder;
            const QString path = folder.filePath(QStringLiteral("shot.png"));
            QFile old(path);
            QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
            old.close();
            const Outcome outcome = [&, image = Image{picture, QSizeF(picture.size())}, limit = rlim_t(room)] {
                const FullDisk full(limit);
                return PngWriter::write(path, image);
            }();
            QVERIFY(!outcome && !outcome.reason().isEmpty());
            QCOMPARE(QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                     QStringList{QStringLiteral("shot.png")});
            QVERIFY(old.open(QIODevice::ReadOnly));
            QCOMPARE(old.readAll(), QByteArray("old"));
        }
    }
};

QTEST_GUILESS_MAIN(tst_PngWriter)
#include "tst_PngWriter.moc"
