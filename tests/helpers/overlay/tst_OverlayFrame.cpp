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
    void pixels()
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
    void damage_data()
    {
        QTest::addColumn<OverlayFrame>("before");
        QTest::addColumn<OverlayFrame>("after");
        QTest::addColumn<int>("atMost"); // pixels
        const auto row = [](const char *name, const OverlayFrame &before, const OverlayFrame &after, int atMost) {
            QTest::newRow(name) << before << after << atMost;
        };
        const QImage small = sprite(8, 4, 0xc0101010), other = sprite(8, 4, 0xff202020);
        const auto labelled = [](const QRect &area, QPoint at, const QImage &label) {
            return selected(area, {{at, label}});
        };
        const QRect area(5, 5, 9, 9);
        row("nothing changed", labelled(area, {20, 20}, small), labelled(area, {20, 20}, small), 0);
        row("a selection appears", OverlayFrame(), selected({5, 5, 10, 10}), 144);
        row("a corner moves", selected({5, 5, 30, 20}), selected({5, 5, 31, 20}), 120);
        row("it is moved", selected({5, 5, 10, 10}), selected({8, 7, 10, 10}), 220);
        row("to the edge of the screen", selected({5, 5, 10, 10}), selected(screen), 2400);
        row("a sprite moves", labelled(area, {20, 20}, small), labelled(area, {22, 21}, small), 64);
        row("a sprite changes in its place", labelled(area, {20, 20}, small), labelled(area, {20, 20}, other), 32);
        row("a sprite over the border", labelled({5, 5, 20, 20}, {20, 20}, small),
            labelled({5, 5, 22, 19}, {22, 20}, other), 250);
    }

    void damage()
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

    // On a monitor whose corner is not the desktop's, with a gap of 10.
    void places_data()
    {
        QTest::addColumn<QPoint>("found");
        QTest::addColumn<QPoint>("place");
        constexpr QRect monitor(200, 0, 800, 600);
        const auto label = [&](const char *name, const QRect &selection, const QRect &avoid, QPoint place) {
            QTest::newRow(name) << placeLabel({80, 20}, selection, monitor, avoid, 10) << place;
        };
        label("below", {300, 100, 200, 100}, {}, {359, 210});
        label("above, where the loupe is below", {300, 100, 200, 100}, {400, 205, 100, 100}, {359, 70});
        label("above, at the bottom edge", {300, 400, 200, 195}, {}, {359, 370});
        label("within, when it is as tall as the monitor", {300, 0, 200, 600}, {}, {359, 570});
        label("kept on the monitor at the right", {980, 100, 20, 20}, {}, {910, 130});
        label("a selection that began on another monitor", {0, 100, 400, 100}, {}, {210, 210});
        const auto loupe = [&](const char *name, QPoint pointer, QPoint direction, QPoint place) {
            QTest::newRow(name) << placeLoupe({100, 120}, pointer, direction, monitor, 10) << place;
        };
        loupe("after", {400, 300}, {1, 1}, {410, 310});
        loupe("before", {400, 300}, {-5, -1}, {291, 171});
        loupe("turned round at the right bottom", {995, 595}, {1, 1}, {886, 466});
        loupe("turned round at the left top", {205, 5}, {-1, -1}, {215, 15});
    }

    void places()
    {
        QFETCH(QPoint, found);
        QTEST(found, "place");
    }
};

QTEST_APPLESS_MAIN(tst_OverlayFrame)
#include "tst_OverlayFrame.moc"
