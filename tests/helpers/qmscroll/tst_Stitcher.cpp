#include "tests/helpers/qmscroll/ScrollDriver.h"

#include <QPainter>
#include <QtTest>

using namespace qm;

using Look = ScrollScene::Look;
using Content = ScrollScene::Content;
using Step = Stitcher::Step;

Q_DECLARE_METATYPE(ScrollScene::Look)
Q_DECLARE_METATYPE(Stitcher::Step)

class tst_Stitcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // To the end of the page, by steps between the two.
    void everyLineOnce_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<int>("least");
        QTest::addColumn<int>("most");
        const auto row = [](const char *name, const Look &look, int least, int most) {
            QTest::newRow(name) << look << least << most;
        };
        row("mixed page", {}, 1, 230);
        row("header and footer that stay", {.content = Content::text, .header = 48, .footer = 30}, 1, 180);
        row("header that begins to stick, footer that counts",
            {.header = 40, .footer = 30, .headerFrom = 300, .footerCounts = true}, 20, 110);
        row("header that shrinks", {.header = 60, .headerShrinksTo = 36}, 20, 140);
        row("bar that slides in over the bottom", {.barLater = 500}, 20, 140);
        row("scroll bar, sidebar, caret, animation",
            {.scrollBar = 14, .sidebar = 120, .caret = true, .animation = true}, 1, 140);
        row("row under the pointer", {.content = Content::table, .hover = true}, 1, 120);
        row("blank stretch", {.blankFrom = 900, .blankRows = 150}, 10, 150);
        row("photograph", {.content = Content::photo}, 1, 200);
        row("smooth gradient", {.content = Content::shaded}, 1, 200);
        row("noise", {.noise = 2}, 1, 180);
        row("text smoothed otherwise", {.content = Content::text, .blur = 0.15}, 1, 150);
        row("steps longer than the region", {}, 200, 900);
        row("one pixel at a time", {.size = {300, 200}, .pageHeight = 330, .content = Content::text}, 1, 1);
    }

    void everyLineOnce()
    {
        QFETCH(Look, look);
        QFETCH(int, least);
        QFETCH(int, most);
        for (const quint32 seed : {1u, 2u}) {
            ScrollScene scene(look, seed);
            ScrollDriver driver(scene, 0);
            QRandomGenerator random(seed);
            driver.toTheEnd([&] { return random.bounded(least, most + 1); });
            driver.finish();
            QVERIFY2(driver.wrong.isEmpty(), qPrintable(QStringLiteral("seed %1: %2").arg(seed).arg(driver.wrong)));
            QVERIFY2(!driver.stuck, qPrintable(QStringLiteral("seed %1: stuck at %2").arg(seed).arg(driver.at)));
        }
    }

    // Looks and steps by chance, also back and above the start; whatever was joined must be right.
    void anyPage()
    {
        for (quint32 seed = 1; seed <= 24; ++seed) {
            QRandomGenerator random(seed);
            const auto oneIn = [&random](int n) { return random.bounded(n) == 0; };
            Look look;
            look.content = Content(random.bounded(int(Content::cards) + 1));
            look.size = QSize(random.bounded(200, 500), oneIn(8) ? random.bounded(30, 200) : random.bounded(200, 360));
            look.pageHeight = 1200;
            look.header = oneIn(3) ? random.bounded(12, 60) : 0;
            look.footer = oneIn(3) ? random.bounded(12, 40) : 0;
            look.footerCounts = oneIn(2);
            look.scrollBar = oneIn(3) ? 12 : 0;
            look.caret = oneIn(3);
            look.animation = oneIn(4);
            look.noise = oneIn(5) ? 2 : 0;
            look.blankRows = oneIn(4) ? random.bounded(60, 500) : 0;
            look.blankFrom = random.bounded(200, 800);
            ScrollScene scene(look, seed);
            ScrollDriver driver(scene, random.bounded(100));
            int steps = 0;
            driver.toTheEnd([&] { return ++steps < 40 ? random.bounded(-120, 200) : 90; });
            driver.finish();
            QVERIFY2(driver.wrong.isEmpty(), qPrintable(QStringLiteral("seed %1: %2").arg(seed).arg(driver.wrong)));
        }
    }

    // What the page shows and where it goes decides what a step is.
    void steps_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<QList<int>>("offsets");
        QTest::addColumn<QList<Step>>("steps"); // after the first
        const auto row = [](const char *name, const Look &look, const QList<int> &offsets, const QList<Step> &steps) {
            QTest::newRow(name) << look << offsets << steps;
        };
        const Look text{.content = Content::text}, alike{.content = Content::alike};
        row("stands, a caret blinks", {.content = Content::text, .caret = true}, {0, 0, 0}, {Step::still, Step::still});
        row("animation goes on", {.animation = true}, {100, 100}, {Step::still});
        row("longer than the region", text, {0, 400, 100}, {Step::lost, Step::joined});
        row("text smoothed otherwise", {.content = Content::text, .blur = 0.15}, {0, 60}, {Step::joined});
        row("rows alike", alike, {0, 60, 24}, {Step::ambiguous, Step::ambiguous});
        row("a block over and over", {.content = Content::cards}, {0, 140, 30}, {Step::ambiguous, Step::ambiguous});
        row("a block over and over, a caret in what leaves", {.content = Content::cards, .caret = true}, {140, 30},
            {Step::ambiguous});
        row("blank", {.blankRows = 2400}, {0, 60}, {Step::ambiguous});
        row("blank under a header that is known",
            {.content = Content::text, .header = 40, .blankFrom = 300, .blankRows = 900}, {0, 60, 330, 480},
            {Step::joined, Step::lost, Step::lost});
        row("one pixel, two thirds of the region", text, {0, 1, 211}, {Step::joined, Step::joined});
        row("a browser's click in a low region", {.size = {600, 170}, .content = Content::text}, {500, 600, 700},
            {Step::joined, Step::joined});
    }

    void steps()
    {
        QFETCH(Look, look);
        QFETCH(QList<int>, offsets);
        QFETCH(QList<Step>, steps);
        ScrollScene scene(look, 1);
        Stitcher stitcher(look.size, [](const QImage &) { return true; });
        QCOMPARE(stitcher.add(scene.frame(offsets.takeFirst())), Step::first);
        for (const int offset : qAsConst(offsets))
            QCOMPARE(stitcher.add(scene.frame(offset)), steps.takeFirst());
    }

    // As a list does with the row under the pointer, when that comes to rest on the next one.
    void rowsThatLightUpAreNoMovement()
    {
        const QImage plain = ScrollScene({.content = Content::text}, 1).frame(500);
        Stitcher stitcher(plain.size(), [](const QImage &) { return true; });
        QCOMPARE(stitcher.add(plain), Step::first);
        for (const int y : {96, 120}) {
            QImage lit = plain.copy();
            QPainter painter(&lit);
            painter.setCompositionMode(QPainter::CompositionMode_Multiply);
            painter.fillRect(0, y, lit.width(), 24, QColor(236, 236, 236));
            painter.end();
            QCOMPARE(stitcher.add(lit), Step::still);
        }
    }

    void failures()
    {
        ScrollScene scene({.content = Content::text}, 1);
        int calls = 0;
        Stitcher stitcher({480, 320}, [&calls](const QImage &) { return ++calls < 2; });
        int offset = 0;
        for (const Step step : {Step::first, Step::joined, Step::failed, Step::failed})
            QCOMPARE(stitcher.add(scene.frame(offset += 50)), step);
        QVERIFY(!stitcher.finish());
        QCOMPARE(calls, 2);
        Stitcher other({480, 321}, [](const QImage &) { return true; });
        QCOMPARE(other.add(scene.frame(0)), Step::failed);
        QVERIFY(!other.finish());
    }
};

QTEST_MAIN(tst_Stitcher)
#include "tst_Stitcher.moc"
