#include "annotate/document/EditorState.h"
#include "annotate/document/HitTest.h"
#include "annotate/document/ItemCodec.h"
#include "annotate/document/PressTarget.h"
#include "annotate/document/TextLine.h"

#include <QTest>

#include <numbers>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = Annotation::Kind;

static constexpr double pi = std::numbers::pi;

static Annotation item(Kind kind, QRectF rect, double width = 2, double rotation = 0)
{
    return {kind, rect, Qt::blue, width, {}, {}, rotation};
}

static Annotation text(QRectF rect, const QString &string, double width = 2)
{
    Annotation text = item(Kind::text, rect, width);
    text.text = string;
    return text;
}

struct Reach {
    Annotation item;
    QPointF hit, missed;
    double scale = 1;
};

class tst_AnnotationDocument : public QObject
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
        QCOMPARE(CanvasMapping::of({400, 400}, {0, 0, 40, 0}, 1, {}).scale(), 1.0);
    }

    void hits_data()
    {
        QTest::addColumn<Reach>("reach");
        const auto row = [](const char *name, const Reach &reach) { QTest::newRow(name) << reach; };
        // The tolerance at scale 1 and width 2 is 10.
        const Annotation line = item(Kind::line, {100, 100, -50, 0}), box = item(Kind::rect, {100, 100, -50, -20});
        row("beside a line", {line, {70, 109.9}, {70, 110}});
        row("beyond its end", {line, {40.1, 100}, {39.9, 100}});
        row("twice as far when half as large", {line, {70, 117.9}, {70, 118}, 2});
        row("a line of no length", {item(Kind::line, {100, 100, 0, 0}), {106, 107}, {108, 108}});
        row("an arrow does not turn", {item(Kind::arrow, {0, 0, 100, 0}, 2, pi / 2), {95, 0}, {50, 45}});
        row("around a box", {box, {40.5, 110}, {39.5, 90}});
        row("an ellipse by its box", {item(Kind::ellipse, {0, 0, 50, 50}), {-9, -9}, {-11, 25}});
        row("turned to the left", {item(Kind::blur, {0, 0, 100, 20}, 2, pi / 4), {85, 45}, {85, -25}});
        row("text", {text({0, 0, 60, 20}, u"abc"_s), {69, 29}, {71, 10}});
        row("text of no size, five letters of 18", {text({0, 0, 0, 0}, u"abcde"_s, 3), {64, 28}, {66, 10}});
        row("text of no size and no letters", {text({0, 0, 0, 0}, {}), {33, 23}, {10, 25}});
    }
    void hits()
    {
        QFETCH(Reach, reach);
        QVERIFY(HitTest::hits(reach.item, reach.hit, reach.scale));
        QVERIFY(!HitTest::hits(reach.item, reach.missed, reach.scale));
    }

    void constrained()
    {
        QCOMPARE(levelFrom({10, 10}, {50, 14}), QPointF(50, 10));
        QCOMPARE(levelFrom({10, 10}, {12, -30}), QPointF(10, -30));
        QCOMPARE(levelFrom({10, 10}, {40, 50}), QPointF(45, 45));
        const double degree = pi / 180;
        QCOMPARE(settledAngle(50 * degree, true), 45 * degree);
        QCOMPARE(settledAngle(50 * degree, false), 50 * degree);
        QCOMPARE(settledAngle(358.5 * degree, false), 0.0);
        QCOMPARE(settledAngle(-2.5 * degree, false), -2.5 * degree);
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
        const Annotation high = item(Kind::rect, {240, 600, 100, 180}), all = item(Kind::rect, {0, 0, 800, 800});
        QCOMPARE(mode(high, {145, 300 - 26}), DragMode::rotate); // no room above
        QCOMPARE(mode(all, {200, 392}), DragMode::rotate);       // nor below
        const Annotation arrow = item(Kind::arrow, {200, 200, -20, 0});
        QCOMPARE(mode(arrow, {100, 108}), DragMode::start);
        QCOMPARE(mode(arrow, {92, 100}), DragMode::start); // both are near
        QCOMPARE(mode(arrow, {95, 100 + 26}), DragMode::none);
        QCOMPARE(PressTarget::at({1, 1}, {item(Kind::rect, {0, 0, 4, 4})}, {}, mapping).fixedCorner, QPointF(4, 4));
    }

    void topmostWins()
    {
        const QList items{item(Kind::rect, {0, 0, 50, 50}), item(Kind::line, {0, 0, 50, 50})};
        QCOMPARE(HitTest::itemAt(items, {25, 25}, 1), std::optional(1));
        QCOMPARE(HitTest::itemAt(items, {45, 5}, 1), std::optional(0));
        // Below the selected one at that place, and round again.
        for (const auto &[selected, next] : {std::pair(std::optional<int>(), 1), {1, 0}, {0, 1}})
            QCOMPARE(HitTest::itemBelow(items, selected, {25, 25}, 1), std::optional(next));
        QCOMPARE(HitTest::itemBelow(items, 1, {45, 5}, 1), std::optional(0));
    }

    void zoom()
    {
        EditorState state;
        const auto label = [&](int times, void (EditorState::*step)(double)) {
            for (int i = 0; i < times; ++i)
                (state.*step)(CanvasZoom::most);
            return state.zoomLabel();
        };
        QCOMPARE(label(3, &EditorState::zoomIn), u"195%"_s);
        QCOMPARE(state.zoom, 1.953125);
        QCOMPARE(label(20, &EditorState::zoomIn), u"800%"_s);
        QCOMPARE(label(40, &EditorState::zoomOut), u"20%"_s);
        state.zoom = 1.125; // halves away from zero
        QCOMPARE(state.zoomLabel(), u"113%"_s);
    }

    // An undo leaves the selection as it is.
    void aSelectionThatNamesNothing()
    {
        for (const auto index : {std::optional<int>(), std::optional(2), std::optional(-1)}) {
            EditorState state;
            state.doc.items = {item(Kind::rect, {1, 0, 9, 9}), item(Kind::rect, {2, 0, 9, 9})};
            const QList<Annotation> before = state.doc.items;
            state.selectedIndex = index;
            state.deleteSelected();
            state.nudgeSelected({1, 1}, 0s);
            state.setColor(Qt::green);
            state.setLineWidth(11);
            QCOMPARE(state.doc.items, before);
            QVERIFY(!state.canUndo());
        }
    }

    void nudgesShareAnEntry()
    {
        EditorState state;
        state.doc.items = {item(Kind::rect, {1, 0, 9, 9})};
        state.selectedIndex = 0;
        const auto entries = [&](std::chrono::milliseconds now) {
            state.nudgeSelected({1, 0}, now);
            return state.undoStack.size();
        };
        QCOMPARE(entries(10s), 1);
        QCOMPARE(entries(10'999ms), 1);
        QCOMPARE(entries(11'999ms), 2); // a pause
        state.doc.items[0].rect.translate(0, 1);
        QCOMPARE(entries(12s), 3); // something else between
        state.undo();
        QCOMPARE(entries(12s), 3);
        QVERIFY(!state.canRedo());
    }

    void newItems()
    {
        using enum Annotation::BlurShape;
        EditorState state;
        state.blurShape = ellipse;
        const Kind kinds[] = {Kind::rect,  Kind::rect, Kind::rect,        Kind::line,
                              Kind::arrow, Kind::rect, Kind::ellipse,     Kind::blur,
                              Kind::cover, Kind::rect, Kind::highlighter, Kind::rect}; // in the order of the tools
        Annotation expected{{}, {30, 20, -25, 15}, QColor(255, 59, 48), 7, {}, rect, 0};
        for (const AnnotationTool tool : allAnnotationTools) {
            expected.kind = kinds[size_t(tool)];
            expected.blurShape = tool == AnnotationTool::blur ? ellipse : rect;
            QCOMPARE(ItemFactory::dragged(tool, {30, 20}, {5, 35}, state.style()), expected);
        }
        const double width = measureTextWidth(u"Hello"_s, 42);
        QCOMPARE(ItemFactory::text(u"Hello"_s, {3, 4}, state.style()),
                 (Annotation{Kind::text, {3, 4, width, 42}, expected.color, 7, u"Hello"_s, rect, 0}));
        QCOMPARE(ItemFactory::text(u"i"_s, {}, {Qt::blue, 2, {}, {}}).rect, QRectF(0, 0, 20, 14)); // the least
        const Annotation pen = ItemFactory::pen({{10, 20}, {30, 10}, {20, 40}}, state.style());
        QCOMPARE(pen.rect, QRectF(10, 10, 20, 30));
        QCOMPARE(pen.course(), (QList<QPointF>{{10, 20}, {30, 10}, {20, 40}}));
        QVERIFY(HitTest::hits(pen, {29, 12}, 0.1) && !HitTest::hits(pen, {12, 38}, 0.1)); // not by its box
    }

    // However they came and went.
    void numbersCount()
    {
        EditorState state;
        const auto words = [&] {
            QString all;
            for (const Annotation &item : std::as_const(state.doc.items))
                all += item.text.value_or(u"-"_s);
            return all;
        };
        for (int i = 1; i < 4; ++i)
            state.paste({ItemFactory::number(i, {}, state.style()), item(Kind::rect, {0, 0, 9, 9})});
        QCOMPARE(words(), u"1-2-3-"_s);
        QCOMPARE(state.doc.items[0].rect.size(), QSizeF(40, 40));
        state.selectedIndex = 2;
        state.setLineWidth(2);
        QCOMPARE(state.doc.items[2].rect.size(), QSizeF(20, 20));
        state.deleteSelected();
        QCOMPARE(words(), u"1--2-"_s);
        state.undo();
        QCOMPARE(words(), u"1-2-3-"_s);
    }

    void storedItems()
    {
        Annotation odd = text({1 / 3.0, -2e-9, 1e6, 7}, u"注\"\n"_s, 0.1);
        odd.rotation = pi;
        odd.plate = Annotation::Plate::dark;
        odd.color = QColor(1, 2, 3, 4);
        const QList items{odd, ItemFactory::pen({{1, 2}, {2.5, 1 / 7.0}}, {}), item(Kind::blur, {1, 2, -3, -4})};
        for (const auto &crop : {std::optional<QRectF>(), std::optional(QRectF(1, 2, 3, 4))}) {
            const auto edits = ItemCodec::decode(ItemCodec::encode({items, crop}));
            QVERIFY(edits);
            QCOMPARE(edits->items, items);
            QCOMPARE(edits->crop, crop);
        }
        const QByteArray good = ItemCodec::encode({{item(Kind::pen, {1, 2, 3, 4})}, {}});
        QVERIFY(ItemCodec::decode(good));
        for (const auto &[from, to] : {std::pair("[1,2,3,4]", "[1,2,3]"),
                                       {"[1,2,3,4]", "[1,2,3,1e300]"},
                                       {"\"kind\":9", "\"kind\":10"},
                                       {"\"kind\":9", "\"points\":[2,0]"},
                                       {"\"lineWidth\":2", "\"lineWidth\":-1"},
                                       {"#ff0000ff", "nothing"},
                                       {"\"blurShape\":0", "\"blurShape\":\"\""},
                                       {"}]}", "}"}})
            QVERIFY2(!ItemCodec::decode(QByteArray(good).replace(from, to)), to);
    }
};

QTEST_MAIN(tst_AnnotationDocument)
#include "tst_AnnotationDocument.moc"
