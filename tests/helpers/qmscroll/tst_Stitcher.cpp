#include "tests/helpers/qmscroll/ScrollDriver.h"

#include <QPainter>
#include <QtTest>

using namespace qm;

namespace {

using Look = ScrollScene::Look;
using Content = ScrollScene::Content;

using Step = Stitcher::Step;

enum class End { reached, either };

} // namespace

Q_DECLARE_METATYPE(ScrollScene::Look)
Q_DECLARE_METATYPE(Stitcher::Step)
Q_DECLARE_METATYPE(End)

class tst_Stitcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyLineOnce_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<int>("least");
        QTest::addColumn<int>("most"); // step
        QTest::addColumn<End>("end");  // whether the end of the page must be reached
        const auto row = [](const char *name, const Look &look, int least, int most, End end = End::reached) {
            QTest::newRow(name) << look << least << most << end;
        };
        row("mixed page, random steps", {}, 1, 230);
        row("sticky header and footer", {.content = Content::text, .header = 48, .footer = 30}, 1, 180);
        row("footer that counts", {.footer = 30, .footerCounts = true}, 20, 140);
        row("header that begins to stick", {.header = 40, .headerFrom = 300}, 20, 110);
        row("header that shrinks", {.header = 60, .headerShrinksTo = 36}, 20, 140);
        row("bar that slides in over the bottom", {.barLater = 500}, 20, 140);
        row("scroll bar at the right", {.scrollBar = 14}, 1, 180);
        row("scroll bar at the left", {.scrollBar = 14, .scrollBarLeft = true}, 1, 180);
        row("sidebar", {.content = Content::text, .sidebar = 120}, 1, 180);
        row("caret", {.content = Content::text, .caret = true}, 1, 150);
        row("animation", {.animation = true}, 1, 150);
        row("row under the pointer", {.content = Content::table, .hover = true}, 1, 120);
        row("blank stretch", {.blank = {0, 900, 1, 150}}, 10, 150);
        row("blank stretch taller than the region", {.blank = {0, 900, 1, 700}}, 10, 150, End::either);
        row("photograph", {.content = Content::photo}, 1, 200);
        row("smooth gradient", {.content = Content::shaded}, 1, 200);
        row("numbered code", {.content = Content::code}, 1, 150);
        row("table that differs in one cell", {.content = Content::table, .header = 40}, 1, 150);
        row("one row over and over", {.content = Content::alike}, 1, 200, End::either);
        row("lines that differ in one pixel", {.content = Content::onePixel}, 1, 200);
        row("noise", {.noise = 2}, 1, 180);
        row("text smoothed otherwise", {.content = Content::text, .blur = 0.15}, 1, 150);
        row("steps longer than the region", {}, 200, 900);
        row("very small region", {.size = {40, 30}, .pageHeight = 400, .content = Content::text}, 1, 14, End::either);
        row("one pixel at a time", {.size = {300, 200}, .pageHeight = 330, .content = Content::text}, 1, 1);
        row("everything at once",
            {.header = 40, .footer = 24, .footerCounts = true, .scrollBar = 12, .caret = true, .animation = true}, 1,
            120);
    }

    void everyLineOnce()
    {
        QFETCH(Look, look);
        QFETCH(int, least);
        QFETCH(int, most);
        QFETCH(End, end);
        for (const quint32 seed : {1u, 2u}) {
            ScrollScene scene(look, seed);
            ScrollDriver driver(scene, 0);
            QRandomGenerator random(seed);
            driver.toTheEnd([&] { return random.bounded(least, most + 1); });
            driver.finish();
            QVERIFY2(driver.wrong.isEmpty(), qPrintable(QStringLiteral("seed %1: %2").arg(seed).arg(driver.wrong)));
            if (end == End::reached)
                QVERIFY2(!driver.stuck, qPrintable(QStringLiteral("seed %1: stuck at %2").arg(seed).arg(driver.at)));
        }
    }

    // What the page shows and where it goes decides what a step is.
    void steps_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<QList<int>>("offsets");
        QTest::addColumn<QList<Step>>("steps");
        const auto row = [](const char *name, const Look &look, const QList<int> &offsets, const QList<Step> &steps) {
            QTest::newRow(name) << look << offsets << steps;
        };
        const Look text{.content = Content::text}, alike{.content = Content::alike};
        row("stands", text, {0, 0, 0}, {Step::first, Step::still, Step::still});
        row("caret blinks", {.content = Content::text, .caret = true}, {0, 0}, {Step::first, Step::still});
        row("animation goes on", {.animation = true}, {100, 100}, {Step::first, Step::still});
        row("longer than the region", text, {0, 400, 100}, {Step::first, Step::lost, Step::joined});
        row("text smoothed otherwise", {.content = Content::text, .blur = 0.15}, {0, 60}, {Step::first, Step::joined});
        row("rows alike", alike, {0, 60}, {Step::first, Step::ambiguous});
        row("rows alike by a whole row", alike, {0, 24}, {Step::first, Step::ambiguous});
        row("a block over and over", {.content = Content::cards}, {0, 140, 30},
            {Step::first, Step::ambiguous, Step::ambiguous});
        row("a block over and over, a caret in what leaves", {.content = Content::cards, .caret = true}, {140, 30},
            {Step::first, Step::ambiguous});
        row("blank", {.blank = {0, 0, 1, 2400}}, {0, 60}, {Step::first, Step::ambiguous});
        row("blank under a header that is known", {.content = Content::text, .header = 40, .blank = {0, 300, 1, 900}},
            {0, 60, 330, 480}, {Step::first, Step::joined, Step::lost, Step::lost});
        row("back and on", text, {500, 400, 500, 600}, {Step::first, Step::joined, Step::joined, Step::joined});
        row("one pixel", text, {0, 1, 0}, {Step::first, Step::joined, Step::joined});
        row("two thirds of the region", text, {0, 210}, {Step::first, Step::joined});
        row("a browser's click in a low region", {.size = {600, 170}, .content = Content::text}, {500, 600, 700},
            {Step::first, Step::joined, Step::joined});
    }

    void steps()
    {
        QFETCH(Look, look);
        QFETCH(QList<int>, offsets);
        QFETCH(QList<Step>, steps);
        ScrollScene scene(look, 1);
        Stitcher stitcher(look.size, [](const QImage &) { return true; });
        int joined = offsets.first();
        for (qsizetype i = 0; i < offsets.size(); ++i) {
            const Step step = stitcher.add(scene.frame(offsets[i]));
            QVERIFY2(step == steps[i], qPrintable(QStringLiteral("step %1: %2").arg(i).arg(int(step))));
            if (step == Step::joined) {
                QCOMPARE(stitcher.lastShift(), offsets[i] - joined);
                joined = offsets[i];
            }
            QCOMPARE(stitcher.position(), joined - offsets.first());
        }
    }

    // The user wanders up and down, also above the start: nothing is doubled, and the furthest frame ends the picture.
    void wandering_data()
    {
        QTest::addColumn<Look>("look");
        QTest::newRow("plain") << Look{.content = Content::text};
        QTest::newRow("bands") << Look{.content = Content::text, .header = 40, .footer = 30, .footerCounts = true};
        QTest::newRow("scroll bar") << Look{.content = Content::text, .scrollBar = 14};
    }

    void wandering()
    {
        QFETCH(Look, look);
        ScrollScene scene(look, 7);
        ScrollDriver driver(scene, 400);
        for (const int by : {-90, 60, 120, -40, -150, 100, 110, 90, -30, 130, 50, -120, -100})
            QVERIFY2(driver.scroll(by), qPrintable(driver.wrong));
        QVERIFY(driver.furthest > driver.at && driver.furthest > 500);
        driver.finish();
        QVERIFY2(driver.wrong.isEmpty(), qPrintable(driver.wrong));
    }

    // As a list does with the row under the pointer, when that comes to rest on the next one.
    void rowsThatLightUpAreNoMovement()
    {
        ScrollScene scene({.content = Content::text}, 1);
        const QImage plain = scene.frame(500);
        const auto lit = [&plain](int y) {
            QImage frame = plain.copy();
            QPainter painter(&frame);
            painter.setCompositionMode(QPainter::CompositionMode_Multiply);
            painter.fillRect(0, y, frame.width(), 24, QColor(236, 236, 236));
            return frame;
        };
        Stitcher stitcher(plain.size(), [](const QImage &) { return true; });
        QCOMPARE(stitcher.add(plain), Step::first);
        QCOMPARE(stitcher.add(lit(96)), Step::still);
        QCOMPARE(stitcher.add(lit(120)), Step::still);
    }

    // Looks and steps by chance; whatever was joined must be right.
    void anyPage()
    {
        for (quint32 seed = 1; seed <= 12; ++seed) {
            QRandomGenerator random(seed);
            const auto oneIn = [&random](int n) { return random.bounded(n) == 0; };
            Look look;
            look.content = Content(random.bounded(8));
            look.size = QSize(random.bounded(200, 500), random.bounded(200, 360));
            look.pageHeight = 1400;
            look.header = oneIn(3) ? random.bounded(12, 60) : 0;
            look.footer = oneIn(3) ? random.bounded(12, 40) : 0;
            look.scrollBar = oneIn(3) ? 12 : 0;
            look.caret = oneIn(3);
            look.animation = oneIn(4);
            look.noise = oneIn(5) ? 2 : 0;
            ScrollScene scene(look, seed);
            ScrollDriver driver(scene, 0);
            driver.toTheEnd([&] { return random.bounded(-40, 260); });
            driver.finish();
            QVERIFY2(driver.wrong.isEmpty(), qPrintable(QStringLiteral("seed %1: %2").arg(seed).arg(driver.wrong)));
        }
    }

    void sinkThatFails()
    {
        ScrollScene scene({.content = Content::text}, 1);
        int calls = 0;
        Stitcher stitcher({480, 320}, [&calls](const QImage &) { return ++calls < 2; });
        QCOMPARE(stitcher.add(scene.frame(0)), Step::first);
        QCOMPARE(stitcher.add(scene.frame(50)), Step::joined);
        QCOMPARE(stitcher.add(scene.frame(100)), Step::failed);
        QCOMPARE(stitcher.add(scene.frame(150)), Step::failed);
        QVERIFY(!stitcher.finish());
        QCOMPARE(calls, 2);
    }

    void frameOfAnotherSize()
    {
        ScrollScene scene({.content = Content::text}, 1);
        Stitcher stitcher({480, 321}, [](const QImage &) { return true; });
        QCOMPARE(stitcher.add(scene.frame(0)), Step::failed);
        QVERIFY(!stitcher.finish());
    }

    void oneFrameIsAPicture()
    {
        ScrollScene scene({.content = Content::text}, 1);
        ScrollDriver driver(scene, 100);
        QCOMPARE(driver.stitcher.height(), 320);
        driver.finish();
        QVERIFY2(driver.wrong.isEmpty(), qPrintable(driver.wrong));
        QCOMPARE(driver.picture.height(), 320);
    }
};

QTEST_MAIN(tst_Stitcher)
#include "tst_Stitcher.moc"
