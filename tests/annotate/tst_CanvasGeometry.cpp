#include "annotate/document/HitTest.h"
#include "annotate/document/PressTarget.h"

#include <QTest>

#include <cmath>
#include <numbers>

using namespace qm;
using namespace Qt::StringLiterals;
using Kind = Annotation::Kind;

static constexpr double pi = std::numbers::pi;

static Annotation item(Kind kind, QRectF rect, double width = 2, double rotation = 0)
{
    return {kind, rect, Qt::red, width, {}, {}, rotation};
}

static Annotation text(QRectF rect, const QString &string, double width = 2)
{
    Annotation text = item(Kind::text, rect, width);
    text.text = string;
    return text;
}

class tst_CanvasGeometry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mapping()
    {
        // A crop of 100 x 50 points in 400 x 400 view points, twice as large as fitted, moved by (10, -20).
        const auto mapping = CanvasMapping::of({400, 400}, {20, 30, 100, 50}, 2, {10, -20});
        QCOMPARE(mapping.display, QRectF(-190, -20, 800, 400));
        QCOMPARE(mapping.toImage({610, 380}), QPointF(120, 80));
        QCOMPARE(mapping.toView({70, 55}), QPointF(210, 180));
        QCOMPARE(mapping.renderLimit(2), 1600.0);
        QCOMPARE(mapping.renderLimit(4), 3000.0);
        const auto nothing = CanvasMapping::of({400, 400}, {0, 0, 40, 0}, 1, {});
        QCOMPARE(nothing.scale(), 1.0);
        QVERIFY(nothing.display.isEmpty());
    }

    void hits_data()
    {
        QTest::addColumn<Annotation>("item");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QPointF>("point");
        QTest::addColumn<bool>("hit");
        const auto row = [](const char *name, const Annotation &what, double scale, QPointF point, bool hit) {
            QTest::newRow(name) << what << scale << point << hit;
        };
        // The tolerance at scale 1 and width 2 is 10.
        const Annotation line = item(Kind::line, {100, 100, -50, 0});
        row("beside a line", line, 1, {70, 109.9}, true);
        row("too far beside it", line, 1, {70, 110}, false);
        row("beyond its end", line, 1, {40.1, 100}, true);
        row("too far beyond its end", line, 1, {39.9, 100}, false);
        row("twice as far when half as large", line, 2, {70, 117.9}, true);
        row("a line of no length", item(Kind::line, {100, 100, 0, 0}), 1, {106, 107}, true);
        row("an arrow's rotation means nothing", item(Kind::arrow, {0, 0, 100, 0}, 2, pi / 2), 1, {95, 0}, true);
        const Annotation box = item(Kind::rect, {100, 100, -50, -20});
        row("around a box", box, 1, {40.5, 110}, true);
        row("too far", box, 1, {39.5, 90}, false);
        row("an ellipse by its box", item(Kind::ellipse, {0, 0, 50, 50}), 1, {-9, -9}, true);
        const Annotation turned = item(Kind::blur, {0, 0, 100, 20}, 2, pi / 4);
        row("turned to the left", turned, 1, {85, 45}, true);
        row("not to the right", turned, 1, {85, -25}, false);
        row("text", text({0, 0, 60, 20}, u"abc"_s), 1, {69, 29}, true);
        row("text of no size, five letters of 18", text({0, 0, 0, 0}, u"abcde"_s, 3), 1, {64, 28}, true);
        row("too far from it", text({0, 0, 0, 0}, u"abcde"_s, 3), 1, {66, 10}, false);
        row("text of no size and no letters", text({0, 0, 0, 0}, {}), 1, {33, 23}, true);
    }

    void hits()
    {
        QFETCH(Annotation, item);
        QFETCH(double, scale);
        QFETCH(QPointF, point);
        QTEST(HitTest::hits(item, point, scale), "hit");
    }

    // Handles are as large on the screen at every zoom; here the picture is half as large as it is.
    void grips()
    {
        const auto mapping = CanvasMapping::of({400, 400}, {0, 0, 800, 800}, 1, {});
        const Annotation box = item(Kind::rect, {240, 260, -100, -120}); // 70, 70 to 120, 130 in the view
        const auto mode = [&](const Annotation &what, QPointF view, int selected = 0) {
            return PressTarget::at(view, {what}, selected, mapping).mode;
        };
        QCOMPARE(mode(box, {120 - 11.9, 130}), DragMode::resize);
        QCOMPARE(mode(box, {120 - 12.1, 130}), DragMode::whole);
        QCOMPARE(mode(box, {95, 130 + 26 + 11.9}), DragMode::rotate);
        QCOMPARE(mode(box, {95, 130 + 26 + 11.9}, 7), DragMode::none); // of what is selected alone
        QCOMPARE(mode(box, {95, 130 + 26 + 12.1}), DragMode::none);
        const Annotation arrow = item(Kind::arrow, {200, 200, -20, 0});
        QCOMPARE(mode(arrow, {100, 108}), DragMode::start);
        QCOMPARE(mode(arrow, {92, 100}), DragMode::start); // both are near
        QCOMPARE(mode(arrow, {95, 100 + 26}), DragMode::none);
        QCOMPARE(PressTarget::at({1, 1}, {item(Kind::rect, {0, 0, 4, 4})}, {}, mapping).fixedCorner, QPointF(4, 4));
    }

    void topmostWins()
    {
        const QList<Annotation> items{item(Kind::rect, {0, 0, 50, 50}), item(Kind::line, {0, 0, 50, 50}),
                                      item(Kind::rect, {200, 0, 50, 50})};
        QCOMPARE(HitTest::itemAt(items, {25, 25}, 1), std::optional(1));
        QCOMPARE(HitTest::itemAt(items, {45, 5}, 1), std::optional(0));
        QCOMPARE(HitTest::itemAt(items, {120, 5}, 1), std::nullopt);
    }
};

QTEST_MAIN(tst_CanvasGeometry)
#include "tst_CanvasGeometry.moc"
