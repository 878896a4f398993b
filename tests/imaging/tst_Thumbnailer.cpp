#include "imaging/AreaAverage.h"
#include "imaging/PngKernels.h"
#include "imaging/PngWriter.h"
#include "imaging/Thumbnailer.h"
#include "tests/support/PngForge.h"

#include <QColorSpace>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

using namespace qm;

namespace {

QImage noise(QSize size, bool alpha, quint32 seed = 3)
{
    QRandomGenerator random(seed);
    QImage image(size, alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = random.generate() | (alpha ? 0 : 0xff000000);
    }
    return image;
}

// The definition, in double precision: the mean of the covered area, premultiplied.
double worstError(const QImage &source, const QImage &result)
{
    const double across = double(source.width()) / result.width(), down = double(source.height()) / result.height();
    double worst = 0;
    for (int y = 0; y < result.height(); ++y) {
        for (int x = 0; x < result.width(); ++x) {
            double sum[4] = {};
            for (int row = int(y * down); row < source.height() && row < (y + 1) * down; ++row) {
                const double high = qMin((y + 1) * down, row + 1.0) - qMax(y * down, double(row));
                for (int column = int(x * across); column < source.width() && column < (x + 1) * across; ++column) {
                    const double wide = qMin((x + 1) * across, column + 1.0) - qMax(x * across, double(column));
                    const QRgb pixel = source.pixel(column, row);
                    const double alpha = high * wide * qAlpha(pixel) / 255.0;
                    const int levels[] = {qRed(pixel), qGreen(pixel), qBlue(pixel), 255};
                    for (int channel = 0; channel < 4; ++channel)
                        sum[channel] += alpha * levels[channel];
                }
            }
            const QRgb got = reinterpret_cast<const QRgb *>(result.constScanLine(y))[x];
            const int levels[] = {qRed(got), qGreen(got), qBlue(got), qAlpha(got)};
            for (int channel = 0; channel < 4; ++channel)
                worst = qMax(worst, std::abs(levels[channel] - sum[channel] / (across * down)));
        }
    }
    return worst;
}

} // namespace

class tst_Thumbnailer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    QString written(const QImage &image, const char *format = "png")
    {
        const QString path = m_folder.filePath(QStringLiteral("picture"));
        image.save(path, format, 95);
        return path;
    }

private Q_SLOTS:
    void cleanup() { PngKernels::use(nullptr); }

    void everyPixelIsTheMeanOfItsArea_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<double>("edge");
        QTest::addRow("whole ratio") << QSize(400, 200) << 100.0;
        QTest::addRow("broken ratio") << QSize(397, 211) << 100.0;
        QTest::addRow("hardly smaller") << QSize(101, 57) << 100.0;
        QTest::addRow("same size") << QSize(90, 57) << 100.0;
        QTest::addRow("to one pixel") << QSize(33, 20) << 1.0;
        QTest::addRow("a line") << QSize(900, 1) << 100.0;
        QTest::addRow("more rows than 16 bits sum") << QSize(40, 3000) << 5.0;
    }

    void everyPixelIsTheMeanOfItsArea()
    {
        QFETCH(QSize, size);
        QFETCH(double, edge);
        for (const bool alpha : {false, true}) {
            const QImage source = noise(size, alpha);
            const QString path = written(source);
            for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
                PngKernels::use(kernels);
                const QImage small = Thumbnailer::make(path, edge);
                QCOMPARE(qMax(small.width(), small.height()), qMin(int(edge), qMax(size.width(), size.height())));
                QCOMPARE(small.format(), alpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
                QVERIFY2(worstError(source, small) < 1.0, qPrintable(QString::number(worstError(source, small))));
            }
        }
    }

    void whiteStaysWhite()
    {
        QImage white(5000, 3000, QImage::Format_RGB32);
        white.fill(Qt::white);
        const QImage small = Thumbnailer::make(written(white), 192);
        QCOMPARE(small.size(), QSize(192, 115));
        for (int y = 0; y < small.height(); ++y) {
            for (int x = 0; x < small.width(); ++x)
                QCOMPARE(small.pixel(x, y), 0xffffffffu);
        }
    }

    void transparentPixelsDoNotTintTheirNeighbours()
    {
        QImage image(200, 100, QImage::Format_ARGB32);
        for (int y = 0; y < 100; ++y) {
            for (int x = 0; x < 200; ++x)
                image.setPixel(x, y, x % 2 ? 0xffff0000 : 0x0000ff00); // red beside a green that nobody sees
        }
        const QColor mean = Thumbnailer::make(written(image), 20).pixelColor(10, 5);
        QCOMPARE(mean.red(), 255);
        QCOMPARE(mean.green(), 0);
        QVERIFY(qAbs(mean.alpha() - 127) <= 1);
    }

    void everyKindOfFileIsShrunk_data()
    {
        QTest::addColumn<QByteArray>("format");
        for (const char *format : {"png", "jpg", "webp", "tiff"})
            QTest::addRow("%s", format) << QByteArray(format);
    }

    void everyKindOfFileIsShrunk()
    {
        QFETCH(QByteArray, format);
        QImage image(1600, 900, QImage::Format_RGB32);
        image.fill(0xff3060c0);
        for (int y = 0; y < 450; ++y)
            std::fill_n(reinterpret_cast<QRgb *>(image.scanLine(y)), 800, 0xffe0a040);
        image.setColorSpace(QColorSpace::DisplayP3);
        const QImage small = Thumbnailer::make(written(image, format.constData()), 100);
        QCOMPARE(small.size(), QSize(100, 56));
        QCOMPARE(small.colorSpace(), QColorSpace(QColorSpace::DisplayP3));
        for (const auto &[at, colour] : {std::pair(QPoint(25, 14), 0xffe0a040), {QPoint(75, 40), 0xff3060c0}}) {
            const QRgb got = small.pixel(at);
            QVERIFY(qAbs(qRed(got) - qRed(colour)) <= 4 && qAbs(qGreen(got) - qGreen(colour)) <= 4 &&
                    qAbs(qBlue(got) - qBlue(colour)) <= 4);
        }
    }

    void palettesGreyAndInterlacedComeInColours()
    {
        const PngForge::Picture pictures[] = {{.width = 40, .height = 30, .colourType = 0},
                                              {.width = 40, .height = 30, .bitDepth = 16, .colourType = 6},
                                              {.width = 40, .height = 30, .colourType = 2, .interlaced = true},
                                              {.width = 40, .height = 30, .bitDepth = 4, .colourType = 3, .filter = 0}};
        for (const PngForge::Picture &picture : pictures) {
            QFile file(m_folder.filePath(QStringLiteral("picture")));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(PngForge::file(picture));
            file.close();
            const QImage small = Thumbnailer::make(file.fileName(), 20);
            QCOMPARE(small.size(), QSize(20, 15));
            const QImage whole = QImage(file.fileName()).convertToFormat(QImage::Format_ARGB32);
            QVERIFY(worstError(whole, small) <= 1.5); // 16 bits become 8 on the way
        }
    }

    void aTallCaptureKeepsItsShape()
    {
        QImage tall(700, 30'000, QImage::Format_RGB32);
        tall.fill(Qt::darkCyan);
        QCOMPARE(Thumbnailer::make(written(tall), 192).size(), QSize(4, 192));
    }

    void stopsBetweenRows()
    {
        const QString path = written(noise({500, 400}, false));
        int asked = 0;
        QVERIFY(Thumbnailer::make(path, 100, [&] { return ++asked == 7; }).isNull());
        QCOMPARE(asked, 7);
    }

    void aCutFileGivesWhatThereIs()
    {
        QByteArray file = PngWriter::encode({noise({300, 300}, false), {300, 300}});
        file.chop(file.size() / 2);
        QFile cut(m_folder.filePath(QStringLiteral("cut")));
        QVERIFY(cut.open(QIODevice::WriteOnly));
        cut.write(file);
        cut.close();
        const QImage small = Thumbnailer::make(cut.fileName(), 30);
        QCOMPARE(small.size(), QSize(30, 30));
        QCOMPARE(qAlpha(small.pixel(15, 2)), 255);
        QCOMPARE(qAlpha(small.pixel(15, 29)), 0); // never came
    }

    void whatCannotBeReadIsNull()
    {
        QVERIFY(Thumbnailer::make(QStringLiteral("/nowhere.png"), 100).isNull());
        QVERIFY(Thumbnailer::make(written(noise({9, 9}, false)), 0).isNull());
        QVERIFY(Thumbnailer::make(written(noise({9, 9}, false)), std::nan("")).isNull());
    }
};

QTEST_GUILESS_MAIN(tst_Thumbnailer)
#include "tst_Thumbnailer.moc"
