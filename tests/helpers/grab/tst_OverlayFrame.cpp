#include "helpers/overlay/OverlayFrame.h"

#include <QTest>

using namespace qm;

namespace {

constexpr QRect screen(0, 0, 60, 40);

QImage frozenScreen()
{
    QImage image(screen.size(), QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x * 4, y * 6, (x * y) & 255));
    }
    return image;
}

QImage sprite(int width, int height, QRgb color)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

OverlayFrame selected(const QRect &area, const QList<OverlayFrame::Sprite> &sprites = {})
{
    OverlayFrame frame;
    frame.clear = area;
    frame.addBorder(area, 1, 0xffffffff);
    frame.sprites = sprites;
    return frame;
}

QImage painted(const OverlayFrame &frame, const QRect &part = screen)
{
    QImage image(part.size(), QImage::Format_RGB32);
    image.fill(0xff00ff);
    paint(frame, frozenScreen(), image, part.topLeft());
    return image;
}

} // namespace

Q_DECLARE_METATYPE(OverlayFrame)

class tst_OverlayFrame : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pixels();
    void damage_data();
    void damage();
    void label_data();
    void label();
    void loupe_data();
    void loupe();
};

void tst_OverlayFrame::pixels()
{
    const QImage frozen = frozenScreen();
    const QImage image = painted(selected({10, 10, 20, 10}));
    QCOMPARE(image.pixel(10, 10), frozen.pixel(10, 10));
    QCOMPARE(image.pixel(29, 19), frozen.pixel(29, 19));
    QCOMPARE(image.pixel(9, 9), 0xffffffff);
    QCOMPARE(image.pixel(30, 20), 0xffffffff);
    QCOMPARE(image.pixel(31, 21), dimmed(frozen.pixel(31, 21)));
    QCOMPARE(dimmed(0xffffff), qRgb(159, 159, 159));
    QCOMPARE(dimmed(qRgb(1, 2, 100)), qRgb(1, 1, 62)); // rounded, each by itself
}

// Painting again only what differs gives the same picture as painting all of the new state, and is less work.
void tst_OverlayFrame::damage_data()
{
    QTest::addColumn<OverlayFrame>("before");
    QTest::addColumn<OverlayFrame>("after");
    QTest::addColumn<int>("atMost"); // pixels
    const QImage small = sprite(8, 4, 0xc0101010);
    const QImage other = sprite(8, 4, 0xff202020);
    QTest::newRow("nothing changed") << selected({5, 5, 9, 9}, {{{20, 20}, small}})
                                     << selected({5, 5, 9, 9}, {{{20, 20}, small}}) << 0;
    QTest::newRow("a selection appears") << OverlayFrame() << selected({5, 5, 10, 10}) << 144;
    QTest::newRow("a corner moves") << selected({5, 5, 30, 20}) << selected({5, 5, 31, 20}) << 120;
    QTest::newRow("it is moved") << selected({5, 5, 10, 10}) << selected({8, 7, 10, 10}) << 220;
    QTest::newRow("to the edge of the screen") << selected({5, 5, 10, 10}) << selected({0, 0, 60, 40}) << 2400;
    QTest::newRow("a sprite moves") << selected({5, 5, 9, 9}, {{{20, 20}, small}})
                                    << selected({5, 5, 9, 9}, {{{22, 21}, small}}) << 64;
    QTest::newRow("a sprite changes in its place")
        << selected({5, 5, 9, 9}, {{{20, 20}, small}}) << selected({5, 5, 9, 9}, {{{20, 20}, other}}) << 32;
    QTest::newRow("a sprite over the border")
        << selected({5, 5, 20, 20}, {{{20, 20}, small}}) << selected({5, 5, 22, 19}, {{{22, 20}, other}}) << 250;
}

void tst_OverlayFrame::damage()
{
    QFETCH(OverlayFrame, before);
    QFETCH(OverlayFrame, after);
    QFETCH(int, atMost);
    QImage shown = painted(before);
    int pixels = 0;
    for (const QRect &part : qm::damage(before, after) & screen) {
        pixels += part.width() * part.height();
        const QImage fresh = painted(after, part);
        for (int y = 0; y < part.height(); ++y)
            memcpy(shown.scanLine(part.y() + y) + part.x() * 4, fresh.constScanLine(y), size_t(part.width()) * 4);
    }
    QCOMPARE(shown, painted(after));
    QVERIFY2(pixels <= atMost, QByteArray::number(pixels).constData());
}

void tst_OverlayFrame::label_data()
{
    QTest::addColumn<QRect>("selection");
    QTest::addColumn<QRect>("avoid");
    QTest::addColumn<QPoint>("place");
    // A label of 80 x 20, a gap of 10, on a monitor whose corner is not the desktop's.
    QTest::newRow("below") << QRect(300, 100, 200, 100) << QRect() << QPoint(359, 210);
    QTest::newRow("above, where the loupe is below")
        << QRect(300, 100, 200, 100) << QRect(400, 205, 100, 100) << QPoint(359, 70);
    QTest::newRow("above, at the bottom edge") << QRect(300, 400, 200, 195) << QRect() << QPoint(359, 370);
    QTest::newRow("within, when it is as tall as the monitor")
        << QRect(300, 0, 200, 600) << QRect() << QPoint(359, 570);
    QTest::newRow("kept on the monitor at the left") << QRect(200, 100, 20, 20) << QRect() << QPoint(210, 130);
    QTest::newRow("kept on the monitor at the right") << QRect(980, 100, 20, 20) << QRect() << QPoint(910, 130);
    QTest::newRow("a selection that began on another monitor")
        << QRect(0, 100, 400, 100) << QRect() << QPoint(210, 210);
}

void tst_OverlayFrame::label()
{
    QFETCH(QRect, selection);
    QFETCH(QRect, avoid);
    QTEST(placeLabel({80, 20}, selection, {200, 0, 800, 600}, avoid, 10), "place");
}

void tst_OverlayFrame::loupe_data()
{
    QTest::addColumn<QPoint>("pointer");
    QTest::addColumn<QPoint>("direction");
    QTest::addColumn<QPoint>("place");
    // A loupe of 100 x 120, a gap of 10, on the same monitor.
    QTest::newRow("after") << QPoint(400, 300) << QPoint(1, 1) << QPoint(410, 310);
    QTest::newRow("before") << QPoint(400, 300) << QPoint(-5, -1) << QPoint(291, 171);
    QTest::newRow("turned round at the right bottom") << QPoint(995, 595) << QPoint(1, 1) << QPoint(886, 466);
    QTest::newRow("turned round at the left top") << QPoint(205, 5) << QPoint(-1, -1) << QPoint(215, 15);
}

void tst_OverlayFrame::loupe()
{
    QFETCH(QPoint, pointer);
    QFETCH(QPoint, direction);
    QTEST(placeLoupe({100, 120}, pointer, direction, {200, 0, 800, 600}, 10), "place");
}

QTEST_APPLESS_MAIN(tst_OverlayFrame)
#include "tst_OverlayFrame.moc"
