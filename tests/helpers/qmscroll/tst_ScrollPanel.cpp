// Where the panel goes beside a region, and what its buttons answer.

#include "helpers/qmscroll/ScrollPanel.h"

#include <QGuiApplication>
#include <QPainter>
#include <QTest>

using namespace qm;
using Shape = ScrollPanel::Shape;
using Button = ScrollPanel::Button;

class tst_ScrollPanel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void places_data()
    {
        QTest::addColumn<QRect>("region");
        QTest::addColumn<QList<QRect>>("monitors"); // the first is the region's
        QTest::addColumn<double>("scale");
        QTest::addColumn<Shape>("shape");
        QTest::addColumn<char>("side"); // Below, Above, Right, Left, Other monitor, Covering
        const auto row = [](const char *name, const QRect &region, const QList<QRect> &monitors, double scale,
                            Shape shape,
                            char side) { QTest::newRow(name) << region << monitors << scale << shape << side; };
        const QRect screen(0, 0, 1280, 800);
        row("in the middle", {300, 200, 600, 300}, {screen}, 1, Shape::wide, 'B');
        row("in the right corner", {1200, 100, 80, 300}, {screen}, 1, Shape::wide, 'B');
        row("full height at the left", {0, 0, 700, 800}, {screen}, 1, Shape::wide, 'R');
        row("little room at the side", {170, 0, 1110, 800}, {screen}, 1, Shape::tall, 'L');
        row("hardly room at the side", {0, 0, 1136, 800}, {screen}, 1, Shape::tall, 'R');
        row("a taskbar's room", {0, 0, 1280, 755}, {screen}, 1, Shape::bar, 'B');
        row("all of the screen", screen, {screen}, 1, Shape::wide, 'C');
        row("all of one monitor", screen, {screen, {1280, 0, 1024, 768}}, 1, Shape::wide, 'O');
        row("across both, low", {900, 500, 700, 300}, {screen, {1280, 0, 1024, 800}}, 1, Shape::wide, 'A');
        row("on the second monitor", {1400, 10, 500, 700}, {{1280, 0, 1024, 768}, screen}, 1, Shape::wide, 'R');
    }

    void places()
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

    void buttons_data()
    {
        QTest::addColumn<Shape>("shape");
        QTest::addColumn<double>("scale");
        QTest::newRow("wide") << Shape::wide << 1.0;
        QTest::newRow("tall") << Shape::tall << 1.5;
        QTest::newRow("bar") << Shape::bar << 2.0;
    }

    void buttons()
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
        QVERIFY(places[Button::cancel].width() > 50 * scale &&
                !places[Button::cancel].intersects(places[Button::done]));

        // Pressed on one and let go elsewhere is nothing, and so is everything once it closes.
        for (const Button pressed : {Button::cancel, Button::done}) {
            panel.movePointer(places[pressed].center());
            panel.press();
            panel.movePointer(places[Button::done].center());
            QCOMPARE(int(panel.release()), int(Button::none));
            panel.setClosing();
        }
    }

    // It is painted again when it looks otherwise, and only then.
    void changes()
    {
        ScrollPanel panel(Shape::wide, 1);
        QImage before, thumbnail(100, 300, QImage::Format_RGB32);
        thumbnail.fill(Qt::red);
        const std::function<void()> acts[] = {
            [] {},
            [&] { panel.setHeight(4321); },
            [&] { panel.setStatus(QStringLiteral("resting"), ScrollPanel::Importance::ordinary); },
            [&] { panel.setThumbnail(thumbnail); },
            [&] {
                panel.movePointer({300, 90});
            },
            [&] { panel.press(); },
            [&] { panel.release(); },
            [&] { panel.setClosing(); },
        };
        for (const auto &act : acts) {
            for (const bool changed : {true, false}) {
                act();
                QCOMPARE(panel.takeChanged(), changed);
                const QImage now = panel.picture();
                QCOMPARE(now != before, changed);
                before = now;
            }
        }
    }

    void thumbnail_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("topIsSeen");
        QTest::newRow("square") << QSize(160, 160) << true;
        QTest::newRow("tall") << QSize(160, 3000) << false;
        QTest::newRow("a column") << QSize(3, 3000) << false;
    }

    // Red above, blue below: the end is always seen, the beginning while there is room.
    void thumbnail()
    {
        QFETCH(QSize, size);
        QFETCH(bool, topIsSeen);
        ScrollPanel panel(Shape::wide, 1);
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::blue);
        QPainter(&picture).fillRect(0, 0, size.width(), size.height() / 2, Qt::red);
        panel.setThumbnail(picture);
        const QImage shown = panel.picture().copy(12, 12, 88, 88);
        const auto has = [&shown](QRgb color) {
            const auto *pixels = reinterpret_cast<const QRgb *>(shown.constBits());
            return std::find(pixels, pixels + 88 * 88, color) != pixels + 88 * 88;
        };
        QVERIFY(has(0xff0000ff));
        QCOMPARE(has(0xffff0000), topIsSeen);
    }
};

QTEST_MAIN(tst_ScrollPanel)
#include "tst_ScrollPanel.moc"
