// Where the panel goes beside a region, and what its buttons answer.

#include "helpers/qmscroll/ScrollPanel.h"

#include <QGuiApplication>
#include <QTest>

using namespace qm;
using Shape = ScrollPanel::Shape;
using Button = ScrollPanel::Button;

class tst_ScrollPanel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void places_data();
    void places();
    void buttons_data();
    void buttons();
    void changes();
    void thumbnail_data();
    void thumbnail();
};

void tst_ScrollPanel::places_data()
{
    QTest::addColumn<QRect>("region");
    QTest::addColumn<QList<QRect>>("monitors"); // the first is the region's
    QTest::addColumn<double>("scale");
    QTest::addColumn<Shape>("shape");
    QTest::addColumn<char>("side"); // Below, Above, Right, Left, Other monitor, Covering
    const auto row = [](const char *name, const QRect &region, const QList<QRect> &monitors, double scale, Shape shape,
                        char side) { QTest::newRow(name) << region << monitors << scale << shape << side; };
    const QRect screen(0, 0, 1280, 800);
    row("in the middle", {300, 200, 600, 300}, {screen}, 1, Shape::wide, 'B');
    row("low", {300, 300, 600, 480}, {screen}, 1, Shape::wide, 'A');
    row("beyond the left edge", {0, 0, 100, 300}, {screen}, 1, Shape::wide, 'B');
    row("in the right corner", {1200, 100, 80, 300}, {screen}, 1, Shape::wide, 'B');
    row("full height at the left", {0, 0, 700, 800}, {screen}, 1, Shape::wide, 'R');
    row("full height at the right", {700, 0, 580, 800}, {screen}, 1, Shape::wide, 'L');
    row("little room at the side", {170, 0, 1110, 800}, {screen}, 1, Shape::tall, 'L');
    row("hardly room at the side", {0, 0, 1136, 800}, {screen}, 1, Shape::tall, 'R');
    row("a taskbar's room", {0, 0, 1280, 755}, {screen}, 1, Shape::bar, 'B');
    row("all of the screen", screen, {screen}, 1, Shape::wide, 'C');
    row("all but a line", {0, 0, 1280, 790}, {screen}, 1, Shape::wide, 'C');
    row("all of one monitor", screen, {screen, {1280, 0, 1024, 768}}, 1, Shape::wide, 'O');
    row("all of both", {0, 0, 2304, 800}, {screen, {1280, 0, 1024, 768}}, 1, Shape::wide, 'C');
    row("across both, low", {900, 500, 700, 300}, {screen, {1280, 0, 1024, 800}}, 1, Shape::wide, 'A');
    row("twice as fine", {600, 400, 1200, 700}, {{0, 0, 2560, 1600}}, 2, Shape::wide, 'B');
    row("twice as fine, low", {600, 400, 1200, 1150}, {{0, 0, 2560, 1600}}, 2, Shape::wide, 'A');
    row("on the second monitor", {1400, 10, 500, 700}, {{1280, 0, 1024, 768}, screen}, 1, Shape::wide, 'R');
}

void tst_ScrollPanel::places()
{
    QFETCH(QRect, region);
    QFETCH(QList<QRect>, monitors);
    QFETCH(double, scale);
    QFETCH(Shape, shape);
    QFETCH(char, side);
    QList<PanelScreen> others;
    for (const QRect &monitor : monitors.mid(1))
        others.append({monitor, scale});
    const PanelPlace place = placePanel(region, {monitors.first(), scale}, others);
    QCOMPARE(int(place.shape), int(shape));
    const QRect panel(place.at, ScrollPanel::size(place.shape, place.scale));
    const char found = place.coversRegion                    ? 'C'
                       : !monitors.first().intersects(panel) ? 'O'
                       : panel.top() > region.bottom()       ? 'B'
                       : panel.bottom() < region.top()       ? 'A'
                       : panel.left() > region.right()       ? 'R'
                                                             : 'L';
    QCOMPARE(found, side);
    QCOMPARE(place.coversRegion, panel.intersects(region));
    QVERIFY((side == 'O' ? monitors.last() : monitors.first()).contains(panel));
}

void tst_ScrollPanel::buttons_data()
{
    QTest::addColumn<Shape>("shape");
    QTest::addColumn<double>("scale");
    for (const double scale : {1.0, 1.5, 2.0}) {
        QTest::addRow("wide at %g", scale) << Shape::wide << scale;
        QTest::addRow("tall at %g", scale) << Shape::tall << scale;
        QTest::addRow("bar at %g", scale) << Shape::bar << scale;
    }
}

void tst_ScrollPanel::buttons()
{
    QFETCH(Shape, shape);
    QFETCH(double, scale);
    ScrollPanel panel(shape, scale);
    const QSize size = ScrollPanel::size(shape, scale);
    // Found by what a click answers, over the whole panel.
    QHash<Button, QRect> places;
    for (int y = 0; y < size.height(); y += 2) {
        for (int x = 0; x < size.width(); x += 2) {
            panel.movePointer({x, y});
            panel.press();
            places[panel.release()] |= QRect(x, y, 1, 1);
        }
    }
    QVERIFY(places[Button::done].width() > 50 * scale && places[Button::done].height() > 20 * scale);
    QVERIFY(places[Button::cancel].width() > 50 * scale && !places[Button::cancel].intersects(places[Button::done]));

    // Pressed on one and let go elsewhere is nothing.
    panel.movePointer(places[Button::done].center());
    panel.press();
    panel.movePointer(places[Button::cancel].center());
    QCOMPARE(int(panel.release()), int(Button::none));
    panel.setClosing();
    panel.movePointer(places[Button::done].center());
    panel.press();
    QCOMPARE(int(panel.release()), int(Button::none));
}

// It is painted again when it looks otherwise, and only then.
void tst_ScrollPanel::changes()
{
    ScrollPanel panel(Shape::wide, 1);
    QImage before;
    const auto step = [&](bool changed, const std::function<void()> &act) {
        act();
        QCOMPARE(panel.takeChanged(), changed);
        const QImage now = panel.picture();
        QCOMPARE(now != before, changed);
        before = now;
    };
    step(true, [] {});
    step(false, [] {});
    step(true, [&] { panel.setHeight(4321); });
    step(false, [&] { panel.setHeight(4321); });
    step(true, [&] { panel.setStatus(QStringLiteral("resting"), ScrollPanel::Importance::ordinary); });
    step(false, [&] { panel.movePointer({1, 1}); });
    step(true, [&] { panel.movePointer({300, 90}); });
    step(true, [&] { panel.press(); });
    step(true, [&] { panel.release(); });
    QImage thumbnail(100, 300, QImage::Format_RGB32);
    thumbnail.fill(Qt::red);
    step(true, [&] { panel.setThumbnail(thumbnail); });
    step(false, [&] { panel.setThumbnail(thumbnail); });
    step(true, [&] { panel.setClosing(); });
}

void tst_ScrollPanel::thumbnail_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("topIsSeen");
    QTest::newRow("wide") << QSize(160, 50) << true;
    QTest::newRow("square") << QSize(160, 160) << true;
    QTest::newRow("tall") << QSize(160, 3000) << false;
    QTest::newRow("a line") << QSize(160, 1) << true;
    QTest::newRow("a column") << QSize(3, 3000) << false;
}

// Red above, blue below: the end is always seen, the beginning while there is room.
void tst_ScrollPanel::thumbnail()
{
    QFETCH(QSize, size);
    QFETCH(bool, topIsSeen);
    ScrollPanel panel(Shape::wide, 1);
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::blue);
    for (int y = 0; y < size.height() / 2; ++y)
        std::fill_n(reinterpret_cast<QRgb *>(picture.scanLine(y)), size.width(), 0xffff0000);
    panel.setThumbnail(picture);
    const QImage shown = panel.picture().copy(12, 12, 88, 88);
    int red = 0, blue = 0;
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            red += shown.pixel(x, y) == 0xffff0000;
            blue += shown.pixel(x, y) == 0xff0000ff;
        }
    }
    QVERIFY(blue > 0);
    if (size.height() > 1)
        QCOMPARE(red > 0, topIsSeen);
}

QTEST_MAIN(tst_ScrollPanel)
#include "tst_ScrollPanel.moc"
