#include "tests/helpers/qmscroll/ScrollDriver.h"

#include <QtTest>

using namespace qm;

namespace {

using Look = ScrollScene::Look;
using Content = ScrollScene::Content;

enum class End { reached, either };

} // namespace

Q_DECLARE_METATYPE(ScrollScene::Look)
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
        row("sticky header and footer", {.header = 48, .footer = 30}, 1, 180);
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
        row("one pixel at a time", {.size = {300, 200}, .pageHeight = 330}, 1, 1);
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
        for (quint32 seed = 1; seed <= 3; ++seed) {
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
};

QTEST_MAIN(tst_Stitcher)
#include "tst_Stitcher.moc"
