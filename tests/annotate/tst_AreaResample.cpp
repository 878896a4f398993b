#include "annotate/render/Pixellate.h"
#include "imaging/AreaResample.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <array>
#include <cmath>

using namespace qm;

static QImage noise(QSize size, QImage::Format format)
{
    QRandomGenerator random(7);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const int alpha = format == QImage::Format_RGB32 ? 255 : int(random.bounded(256));
            const int v = random.bounded(4) == 0 ? 255 : 0; // black and white, as text is: the hardest to average
            image.setPixel(x, y, qPremultiply(qRgba(v, 255 - v, int(random.bounded(256)), alpha)));
        }
    }
    return image.convertToFormat(format);
}

using Channels = std::array<double, 4>;

static Channels channels(const QImage &premultiplied, int x, int y)
{
    const QRgb p = reinterpret_cast<const QRgb *>(premultiplied.constScanLine(y))[x];
    return {double(qRed(p)), double(qGreen(p)), double(qBlue(p)), double(qAlpha(p))};
}

// How far two pixels are apart, in levels of the channel where it is most.
static double apart(const Channels &a, const Channels &b)
{
    double most = 0;
    for (size_t c = 0; c < 4; ++c)
        most = std::max(most, std::abs(a[c] - b[c]));
    return most;
}

// The mean over a box by the definition, in floating point.
static Channels meanOver(const QImage &source, QRectF box)
{
    box &= source.rect();
    Channels sum{};
    if (box.width() < 1e-9 || box.height() < 1e-9)
        return sum;
    for (int y = int(box.top()); y < box.bottom(); ++y) {
        for (int x = int(box.left()); x < box.right(); ++x) {
            const QRectF part = box & QRectF(x, y, 1, 1);
            const Channels pixel = channels(source, x, y);
            for (size_t c = 0; c < 4; ++c)
                sum[c] += pixel[c] * part.width() * part.height() / (box.width() * box.height());
        }
    }
    return sum;
}

class tst_AreaResample : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exactWithinALevel_data()
    {
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QRectF>("window");
        QTest::addColumn<QSize>("size");
        const QImage opaque = noise({120, 90}, QImage::Format_RGB32);
        const QRectF whole(opaque.rect());
        QTest::newRow("a little smaller") << opaque << whole << QSize(113, 87);
        QTest::newRow("a screen's ratio") << opaque << whole << QSize(70, 53);
        QTest::newRow("a half") << opaque << whole << QSize(60, 45);
        QTest::newRow("a fifth, uneven") << opaque << whole << QSize(23, 17);
        QTest::newRow("to one pixel") << opaque << whole << QSize(1, 1);
        QTest::newRow("very wide to little")
            << noise({3000, 4}, QImage::Format_RGB32) << QRectF(0, 0, 3000, 4) << QSize(7, 3);
        QTest::newRow("enlarged") << opaque << QRectF(10, 10, 5, 4) << QSize(33, 21);
        QTest::newRow("a window between pixels") << opaque << QRectF(10.3, 4.7, 60.1, 40.9) << QSize(31, 20);
        QTest::newRow("a window beyond the picture") << opaque << QRectF(-20.5, 60, 100, 60) << QSize(37, 29);
        QTest::newRow("a window outside") << opaque << QRectF(200, 10, 10, 10) << QSize(4, 4);
        for (const auto format : {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32})
            QTest::addRow("with alpha, format %d", format)
                << noise({97, 201}, format) << QRectF(0, 0, 97, 201) << QSize(41, 90);
    }

    void exactWithinALevel()
    {
        QFETCH(QImage, source);
        QFETCH(QRectF, window);
        QFETCH(QSize, size);
        const auto premultiplied = QImage::Format_ARGB32_Premultiplied;
        const QImage result = areaResampled(source, window, size, premultiplied);
        QCOMPARE(result.size(), size);
        source = source.convertToFormat(premultiplied);
        double most = 0;
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                const QRectF box(window.x() + x * window.width() / size.width(),
                                 window.y() + y * window.height() / size.height(), window.width() / size.width(),
                                 window.height() / size.height());
                most = std::max(most, apart(channels(result, x, y), meanOver(source, box)));
            }
        }
        QVERIFY2(most <= 1, qPrintable(QString::number(most)));
    }

    void wholePixelsAreCopied()
    {
        const QImage source = noise({30, 20}, QImage::Format_RGB32);
        QCOMPARE(areaResampled(source, {3, 4, 10, 11}, {10, 11}, QImage::Format_RGB32), source.copy(3, 4, 10, 11));
        const QImage beyond = areaResampled(source, {-2, 15, 10, 10}, {10, 10}, QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(beyond.pixel(1, 2), 0u);
        QCOMPARE(beyond.pixel(2, 5), 0u);
        QCOMPARE(beyond.pixel(2, 4), source.pixel(0, 19));
        const QImage outside = areaResampled(source, {-9, 30, 5, 5}, {5, 5}, QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(outside.pixel(4, 0), 0u);
    }

    void cellSize_data()
    {
        QTest::addColumn<QSize>("region");
        QTest::addColumn<double>("size");
        QTest::newRow("small") << QSize(400, 100) << 8.0;
        QTest::newRow("a sixteenth") << QSize(700, 200) << 12.5;
        QTest::newRow("large") << QSize(640, 480) << 20.0;
    }

    void cellSize()
    {
        QFETCH(QSize, region);
        QTEST(Pixellate::cellsFor({{10, 20}, region}).size, "size");
        QCOMPARE(Pixellate::cellsFor({{10, 20}, region}).anchor, QRectF({10, 20}, region).center());
    }

    void cells_data()
    {
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QRect>("region");
        const QImage opaque = noise({90, 70}, QImage::Format_RGB32);
        QTest::newRow("inside, odd") << opaque << QRect(11, 7, 33, 29);
        QTest::newRow("whole") << opaque << opaque.rect();
        QTest::newRow("beyond two edges") << opaque << QRect(-13, 50, 40, 37);
        QTest::newRow("around it") << opaque << QRect(-100, -100, 301, 300);
        QTest::newRow("outside") << opaque << QRect(100, 7, 20, 20);
        QTest::newRow("cells of broken size") << noise({400, 200}, QImage::Format_RGB32) << QRect(20, 10, 300, 170);
        QTest::newRow("with alpha") << noise({50, 50}, QImage::Format_ARGB32) << QRect(5, 5, 40, 40);
    }

    void cells()
    {
        QFETCH(QImage, source);
        QFETCH(QRect, region);
        const auto grid = Pixellate::cellsFor(region);
        QImage result(region.size(), QImage::Format_ARGB32_Premultiplied);
        result.fill(Qt::red); // what was there does not matter
        Pixellate::pixellate(source, grid, region.topLeft(), result);
        source = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);

        const auto cellOf = [&](int at, double anchor) { return std::floor((at + 0.5 - anchor) / grid.size); };
        QHash<std::pair<double, double>, std::pair<Channels, int>> sums;
        for (int y = 0; y < source.height(); ++y) {
            for (int x = 0; x < source.width(); ++x) {
                auto &[sum, count] = sums[{cellOf(x, grid.anchor.x()), cellOf(y, grid.anchor.y())}];
                const Channels pixel = channels(source, x, y);
                for (size_t c = 0; c < 4; ++c)
                    sum[c] += pixel[c];
                ++count;
            }
        }
        for (int y = 0; y < region.height(); ++y) {
            for (int x = 0; x < region.width(); ++x) {
                const QPoint at = region.topLeft() + QPoint(x, y);
                Channels expected{};
                if (source.rect().contains(at)) {
                    const auto &[sum, count] = sums[{cellOf(at.x(), grid.anchor.x()), cellOf(at.y(), grid.anchor.y())}];
                    for (size_t c = 0; c < 4; ++c)
                        expected[c] = sum[c] / count;
                }
                QVERIFY(apart(channels(result, x, y), expected) <= 0.5);
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_AreaResample)
#include "tst_AreaResample.moc"
