// Both ways of shrinking, AreaResample and AreaAverage, against the mean by its definition.
#include "imaging/AreaAverage.h"
#include "imaging/AreaResample.h"
#include "imaging/PngKernels.h"
#include "tests/support/Pixels.h"

#include <QRandomGenerator>
#include <QTest>

using namespace qm;

static constexpr auto premultiplied = QImage::Format_ARGB32_Premultiplied;

// Black and white, as text is: the hardest to average.
static QImage noise(QSize size, QImage::Format format)
{
    QRandomGenerator random(7);
    QImage image(size, premultiplied);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const int alpha = format == QImage::Format_RGB32 ? 255 : random.bounded(256),
                      v = random.bounded(4) ? 0 : 255;
            image.setPixel(x, y, qPremultiply(qRgba(v, 255 - v, random.bounded(256), alpha)));
        }
    }
    return image.convertToFormat(format);
}

class tst_AreaMeans : public QObject
{
    Q_OBJECT

    static QImage averaged(const QImage &source, QSize size)
    {
        const int channels = source.hasAlphaChannel() ? 4 : 3;
        const QImage packed = source.convertToFormat(channels == 4 ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
        AreaAverage average(source.size(), size, channels);
        for (int y = 0; y < packed.height(); ++y)
            average.add(packed.constScanLine(y));
        return average.result();
    }

private Q_SLOTS:
    void cleanup() { PngKernels::use(nullptr); }

    void exactWithinALevel_data()
    {
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QRectF>("window");
        QTest::addColumn<QSize>("size");
        const auto row = [](const char *name, const QImage &source, QSize size, QRectF window = {}) {
            QTest::newRow(name) << source << (window.isNull() ? QRectF(source.rect()) : window) << size;
        };
        const QImage opaque = noise({120, 90}, QImage::Format_RGB32);
        row("a little smaller", opaque, {113, 87});
        row("a screen's ratio", opaque, {70, 53});
        row("a half", opaque, {60, 45});
        row("to one pixel", opaque, {1, 1});
        row("very wide to little", noise({3000, 4}, QImage::Format_RGB32), {7, 3});
        QImage white(9, 3000, QImage::Format_RGB32);
        white.fill(Qt::white);
        row("more rows than 16 bits sum", white, {5, 5});
        row("the same size", opaque, {120, 90});
        row("rows alike, and some more so", noise({60, 23}, QImage::Format_RGB32).scaled(120, 92), {70, 53});
        row("with alpha", noise({97, 201}, premultiplied), {41, 90});
        row("straight alpha", noise({97, 201}, QImage::Format_ARGB32), {41, 90});
        // These are AreaResample's alone.
        row("enlarged", opaque, {33, 21}, {10, 10, 5, 4});
        row("a window between pixels", opaque, {31, 20}, {10.3, 4.7, 60.1, 40.9});
        row("straight alpha, a window", noise({97, 201}, QImage::Format_ARGB32), {41, 90}, {20, 30, 70, 150});
        row("a window beyond the picture", opaque, {37, 29}, {-20.5, 60, 100, 60});
        row("a window outside", opaque, {4, 4}, {200, 10, 10, 10});
        row("whole pixels", opaque, {10, 11}, {3, 4, 10, 11});
        row("whole pixels beyond two edges", opaque, {40, 20}, {-7, 85, 40, 20});
        row("whole pixels outside", opaque, {5, 5}, {-9, 95, 5, 5});
    }

    void exactWithinALevel()
    {
        QFETCH(QImage, source);
        QFETCH(QRectF, window);
        QFETCH(QSize, size);
        const QImage reference = source.convertToFormat(premultiplied);
        QList<QImage> results{areaResampled(source, window, size, premultiplied)};
        if (window == source.rect()) {
            for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
                PngKernels::use(kernels);
                results << averaged(source, size);
                QCOMPARE(results.last().hasAlphaChannel(), source.hasAlphaChannel());
            }
        }
        const double across = window.width() / size.width(), down = window.height() / size.height();
        for (const QImage &result : results) {
            QCOMPARE(result.size(), size);
            for (int y = 0; y < size.height(); ++y) {
                for (int x = 0; x < size.width(); ++x) {
                    const QRectF box(window.x() + x * across, window.y() + y * down, across, down);
                    const double off = Pixels::apart(Pixels::at(result, x, y), Pixels::meanOf(reference, box));
                    QVERIFY2(off <= (window.size() == size ? 0 : 1), qPrintable(QString::number(off)));
                }
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_AreaMeans)
#include "tst_AreaMeans.moc"
