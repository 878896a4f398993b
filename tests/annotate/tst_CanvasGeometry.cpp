#include "annotate/document/CanvasZoom.h"
#include "annotate/document/HitTest.h"
#include "annotate/render/AnnotationRenderer.h"

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

static Annotation text(QRectF rect, std::optional<QString> string, double width = 2)
{
    Annotation text = item(Kind::text, rect, width);
    text.text = string;
    return text;
}

static bool near(QPointF a, QPointF b)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y()) < 1e-9;
}

class tst_CanvasGeometry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fitted()
    {
        QCOMPARE(CanvasMapping::fitted({400, 400}, {0, 0, 800, 400}), QRectF(0, 100, 400, 200));
        QCOMPARE(CanvasMapping::fitted({400, 200}, {7, 9, 50, 100}), QRectF(150, 0, 100, 200));
        QCOMPARE(CanvasMapping::fitted({400, 200}, {0, 0, 40, 0}), QRectF());
    }

    void mapping()
    {
        // A crop of 100 x 50 points in 400 x 400 view points, twice as large as fitted, moved by (10, -20).
        const auto mapping = CanvasMapping::of({400, 400}, {20, 30, 100, 50}, 2, {10, -20});
        QCOMPARE(mapping.display, QRectF(-190, -20, 800, 400));
        QCOMPARE(mapping.scale(), 0.125);
        QCOMPARE(mapping.toImage({-190, -20}), QPointF(20, 30));
        QCOMPARE(mapping.toImage({610, 380}), QPointF(120, 80));
        QCOMPARE(mapping.toView({70, 55}), QPointF(210, 180));
        QCOMPARE(mapping.renderLimit(2), 1600.0);
        QCOMPARE(mapping.renderLimit(4), 3000.0);
        const auto nothing = CanvasMapping::of({400, 400}, {}, 1, {});
        QCOMPARE(nothing.scale(), 1.0);
        QVERIFY(nothing.display.isEmpty());
    }

    void zoomed_data()
    {
        QTest::addColumn<double>("from");
        QTest::addColumn<QPointF>("pan");
        QTest::addColumn<double>("to");
        QTest::addColumn<double>("zoom");
        QTest::newRow("in") << 1.0 << QPointF() << 2.0 << 2.0;
        QTest::newRow("out") << 3.0 << QPointF(20, -30) << 1.5 << 1.5;
        QTest::newRow("too far in") << 2.0 << QPointF(5, 5) << 12.0 << 8.0;
        QTest::newRow("too far out") << 1.0 << QPointF() << 0.1 << 0.2;
        QTest::newRow("a hair over fitted") << 1.5 << QPointF(20, 20) << 1.004 << 1.0;
        QTest::newRow("just off fitted") << 1.5 << QPointF(20, 20) << 1.01 << 1.01;
    }

    void zoomed()
    {
        QFETCH(double, from);
        QFETCH(QPointF, pan);
        QFETCH(double, to);
        const QSizeF view(400, 300);
        const QRectF region(0, 0, 800, 600);
        const QPointF pointer(260, 120);
        const CanvasZoom after = CanvasZoom{from, pan}.zoomedAbout(pointer, to, view, region);
        QTEST(after.zoom, "zoom");
        if (after.zoom == 1) {
            QCOMPARE(after.pan, QPointF());
        } else {
            const QPointF below = CanvasMapping::of(view, region, from, pan).toImage(pointer);
            QVERIFY(near(CanvasMapping::of(view, region, after.zoom, after.pan).toView(below), pointer));
        }
    }

    void panStopsAtTheEdges()
    {
        const QSizeF view(400, 300); // the picture fits as 400 x 200
        const QRectF region(0, 0, 800, 400);
        QCOMPARE((CanvasZoom{2, {}}.panned({10, -20}, view, region).pan), QPointF(10, -20));
        QCOMPARE((CanvasZoom{2, {}}.panned({9999, -9999}, view, region).pan), QPointF(600, -300));
        QCOMPARE((CanvasZoom{0.5, {-290, 0}}.panned({-20, 151}, view, region).pan), QPointF(-300, 150));
    }

    void handles()
    {
        const auto mapping = CanvasMapping::of({400, 400}, {0, 0, 800, 800}, 1, {}); // two image points a view point
        Annotation box = item(Kind::rect, {140, 160, -40, -60});
        QCOMPARE(rotationHandle(box, mapping), QPointF(60, 65 + 15 + 26));
        QCOMPARE(outline(box)[0], QPointF(100, 100));
        QCOMPARE(outline(box)[2], QPointF(140, 160));
        box.rotation = pi / 2;
        QVERIFY(near(rotationHandle(box, mapping), QPointF(60 - 15 - 26, 65)));
        QVERIFY(near(outline(box)[0], QPointF(150, 110)));
        QVERIFY(near(outline(box)[1], QPointF(150, 150)));
        QVERIFY(HitTest::onRotationHandle(box, {19, 65 + 11.9}, mapping));
        QVERIFY(!HitTest::onRotationHandle(box, {19, 65 + 12.1}, mapping));
        box.kind = Kind::arrow;
        QVERIFY(!HitTest::onRotationHandle(box, {19, 65}, mapping));
        QVERIFY(rotation(box).isIdentity());
    }

    void shift()
    {
        QCOMPARE(squareFrom({10, 10}, {40, 20}), QPointF(40, 40));
        QCOMPARE(squareFrom({10, 10}, {5, -20}), QPointF(-20, -20));
        QCOMPARE(squareFrom({10, 10}, {-10, 10}), QPointF(-10, 30)); // level counts as up
        QCOMPARE(squareFrom({10, 10}, {10, 10}), QPointF(10, 10));
    }

    void drags()
    {
        const QRectF before(10, 20, 30, -40);
        const QPointF from(100, 100), to(103, 95);
        QCOMPARE(movedRect(before, DragMode::whole, from, to), QRectF(13, 15, 30, -40));
        QCOMPARE(movedRect(before, DragMode::start, from, to), QRectF(13, 15, 27, -35));
        QCOMPARE(movedRect(before, DragMode::end, from, to), QRectF(10, 20, 33, -45));
        QCOMPARE(movedRect(before, DragMode::none, from, to), before);
        QCOMPARE(resizedRect({40, 20}, {10, 25}), QRectF(10, 20, 30, 5));
        const Annotation word = text({10, 20, 50, 30}, u"word"_s);
        const double width = AnnotationRenderer::measureTextWidth(u"word"_s, 25);
        QCOMPARE(resizedText(word, word.rect, {999, 45}), QRectF(10, 20, width, 25));
        QCOMPARE(resizedText(word, word.rect, {999, -5}), QRectF(10, 20, width, 25));
        QCOMPARE(resizedText(text({10, 20, 50, 30}, {}), word.rect, {0, 21}), QRectF(10, 20, 20, 8));
        QCOMPARE(angleAbout({1, 1}, {1, 3}), pi / 2);
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
        row("inside a box", box, 1, {75, 90}, true);
        row("around it", box, 1, {40.5, 110}, true);
        row("too far", box, 1, {39.5, 90}, false);
        row("an ellipse by its box", item(Kind::ellipse, {0, 0, 50, 50}), 1, {-9, -9}, true);
        row("a turned box", item(Kind::blur, {0, 0, 100, 20}, 2, pi / 2), 1, {50, 65}, true);
        row("turned to the left", item(Kind::blur, {0, 0, 100, 20}, 2, pi / 4), 1, {85, 45}, true);
        row("not to the right", item(Kind::blur, {0, 0, 100, 20}, 2, pi / 4), 1, {85, -25}, false);
        row("where it was", item(Kind::blur, {0, 0, 100, 20}, 2, pi / 2), 1, {95, 10}, false);
        row("text", text({0, 0, 60, 20}, u"abc"_s), 1, {69, 29}, true);
        row("text of no size, five letters of 18", text({0, 0, 0, 0}, u"abcde"_s, 3), 1, {64, 28}, true);
        row("too far", text({0, 0, 0, 0}, u"abcde"_s, 3), 1, {66, 10}, false);
        row("text of no size and no letters", text({0, 0, 0, 0}, {}), 1, {33, 23}, true);
        row("too far up", text({0, 0, 0, 0}, {}), 1, {10, 25}, false);
    }

    void hits()
    {
        QFETCH(Annotation, item);
        QFETCH(double, scale);
        QFETCH(QPointF, point);
        QTEST(HitTest::hits(item, point, scale), "hit");
    }

    void topmostWins()
    {
        const QList<Annotation> items{item(Kind::rect, {0, 0, 50, 50}), item(Kind::line, {0, 0, 50, 50}),
                                      item(Kind::rect, {200, 0, 50, 50})};
        QCOMPARE(HitTest::itemAt(items, {25, 25}, 1), std::optional(1));
        QCOMPARE(HitTest::itemAt(items, {45, 5}, 1), std::optional(0));
        QCOMPARE(HitTest::itemAt(items, {120, 5}, 1), std::nullopt);
    }

    void endPoints()
    {
        using HitTest::EndPoint;
        const Annotation arrow = item(Kind::arrow, {100, 100, -50, 0});
        QCOMPARE(HitTest::endPointAt(arrow, {100, 112}, 1), EndPoint::start);
        QCOMPARE(HitTest::endPointAt(arrow, {50, 88}, 1), EndPoint::end);
        QCOMPARE(HitTest::endPointAt(arrow, {75, 100}, 1), EndPoint::none);
        QCOMPARE(HitTest::endPointAt(arrow, {76, 100}, 2.1), EndPoint::start); // both are near
        QCOMPARE(HitTest::endPointAt(item(Kind::rect, {100, 100, -50, 0}), {100, 100}, 1), EndPoint::none);
    }

    void corners()
    {
        const auto fixed = [](const Annotation &what, QPointF point) {
            return HitTest::fixedCornerFor(what, point, 1);
        };
        const Annotation box = item(Kind::ellipse, {100, 80, -60, -50}); // corners 40, 30 and 100, 80
        QCOMPARE(fixed(box, {41, 29}), QPointF(100, 80));
        QCOMPARE(fixed(box, {99, 29}), QPointF(40, 80));
        QCOMPARE(fixed(box, {41, 81}), QPointF(100, 30));
        QCOMPARE(fixed(box, {100, 92}), QPointF(40, 30));
        QCOMPARE(fixed(box, {70, 55}), std::nullopt);
        QCOMPARE(fixed(item(Kind::rect, {0, 0, 4, 4}), {2, 2}), QPointF(4, 4)); // all four are near: the first
        QCOMPARE(fixed(item(Kind::rect, {0, 0, 40, 40}, 2, 0.1), {0, 0}), std::nullopt);
        QCOMPARE(fixed(item(Kind::line, {0, 0, 40, 40}), {0, 0}), std::nullopt);
        QCOMPARE(fixed(text({10, 10, 60, 20}, u"a"_s), {70, 30}), QPointF(10, 10));
        QCOMPARE(fixed(text({10, 10, 60, 20}, u"a"_s), {10, 10}), QPointF(10, 10));
    }
};

QTEST_MAIN(tst_CanvasGeometry)
#include "tst_CanvasGeometry.moc"
