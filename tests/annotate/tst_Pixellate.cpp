#include "annotate/render/Pixellate.h"
#include "tests/support/Pixels.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <map>

using namespace qm;

static QImage noise(QSize size, QImage::Format format)
{
    QRandomGenerator random(7);
    QImage image(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, random.generate());
    }
    return image.convertToFormat(format);
}

class tst_Pixellate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eachPixelIsItsCellsMean_data()
    {
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QRect>("region");
        QTest::addColumn<double>("size");
        const QImage opaque = noise({90, 70}, QImage::Format_RGB32);
        QTest::newRow("inside, odd") << opaque << QRect(11, 7, 33, 29) << 8.0;
        QTest::newRow("beyond two edges") << opaque << QRect(-13, 50, 40, 37) << 8.0;
        QTest::newRow("around it") << opaque << QRect(-100, -100, 301, 300) << 18.75;
        QTest::newRow("outside") << opaque << QRect(100, 7, 20, 20) << 8.0;
        QTest::newRow("cells of broken size")
            << noise({400, 200}, QImage::Format_RGB32) << QRect(20, 10, 300, 170) << 10.625;
        QTest::newRow("large cells") << noise({400, 400}, QImage::Format_RGB32) << QRect(20, 10, 350, 370) << 20.0;
        QTest::newRow("with alpha") << noise({50, 50}, QImage::Format_ARGB32) << QRect(5, 5, 40, 40) << 8.0;
    }

    void eachPixelIsItsCellsMean()
    {
        QFETCH(QImage, source);
        QFETCH(QRect, region);
        QFETCH(double, size);
        const Pixellate::Cells cells = Pixellate::cellsFor(region);
        QCOMPARE(cells.size, size);
        QImage result(region.size(), QImage::Format_ARGB32_Premultiplied);
        result.fill(Qt::red); // what was there does not matter
        Pixellate::pixellate(source, cells, region.topLeft(), result);

        source = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        // Whole pixels whose centres lie in the cell of one.
        const auto span = [&](int at, double center) {
            const double first = center + std::floor((at + 0.5 - center) / size) * size;
            return std::pair(int(std::ceil(first - 0.5)), int(std::ceil(first + size - 0.5)));
        };
        std::map<std::pair<int, int>, Pixels::Channels> means;
        for (int y = 0; y < region.height(); ++y) {
            for (int x = 0; x < region.width(); ++x) {
                const QPoint at = region.topLeft() + QPoint(x, y);
                const auto [left, right] = span(at.x(), QRectF(region).center().x());
                const auto [top, bottom] = span(at.y(), QRectF(region).center().y());
                if (!means.contains({left, top}))
                    means[{left, top}] = Pixels::meanOf(source, QRect(left, top, right - left, bottom - top));
                const Pixels::Channels expected = source.rect().contains(at) ? means[{left, top}] : Pixels::Channels{};
                QVERIFY(Pixels::apart(Pixels::at(result, x, y), expected) < 0.501);
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_Pixellate)
#include "tst_Pixellate.moc"
