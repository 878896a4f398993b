#include "annotate/document/EditorState.h"
#include "annotate/document/TextLine.h"

#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = Annotation::Kind;

static Annotation box(double x)
{
    return {Kind::rect, {x, 0, 10, 10}, Qt::blue, 2, {}, {}, 0};
}

static void addItem(EditorState &state, const Annotation &item)
{
    state.pushUndo();
    state.doc.items.append(item);
}

class tst_EditorState : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void zoom()
    {
        EditorState state;
        for (int i = 0; i < 3; ++i)
            state.zoomIn();
        QCOMPARE(state.zoom, 1.953125);
        QCOMPARE(state.zoomLabel(), u"195%"_s);
        for (int i = 0; i < 20; ++i)
            state.zoomIn();
        QCOMPARE(state.zoomLabel(), u"800%"_s);
        for (int i = 0; i < 40; ++i)
            state.zoomOut();
        QCOMPARE(state.zoom, 0.2);
        QCOMPARE(state.zoomLabel(), u"20%"_s);
        state.zoom = 1.125; // halves away from zero
        QCOMPARE(state.zoomLabel(), u"113%"_s);
    }

    // An undo leaves the selection as it is, naming nothing now.
    void aSelectionThatNamesNothing()
    {
        for (const auto index : {std::optional<int>(), std::optional(2), std::optional(-1)}) {
            EditorState state;
            addItem(state, box(1));
            addItem(state, box(2));
            const QList<Annotation> before = state.doc.items;
            state.selectedIndex = index;
            state.deleteSelected();
            state.nudgeSelected({1, 1}, 0s);
            state.setColor(Qt::green);
            state.setLineWidth(11);
            QCOMPARE(state.doc.items, before);
            QCOMPARE(state.undoStack.size(), 2);
        }
    }

    void nudgesShareAnEntry()
    {
        EditorState state;
        addItem(state, box(1));
        state.selectedIndex = 0;
        const auto entries = [&](std::chrono::milliseconds now) {
            state.nudgeSelected({1, 0}, now);
            return state.undoStack.size();
        };
        QCOMPARE(entries(10s), 2);
        QCOMPARE(entries(10'999ms), 2);
        QCOMPARE(entries(11'999ms), 3); // a pause
        state.doc.items[0].rect.translate(0, 1);
        QCOMPARE(entries(12s), 4); // something else between
        state.undo();
        QCOMPARE(entries(12s), 4);
        QVERIFY(!state.canRedo());
    }

    void newItems()
    {
        using Shape = Annotation::BlurShape;
        EditorState state;
        state.blurShape = Shape::ellipse;
        const Kind kinds[] = {Kind::rect,  Kind::rect, Kind::rect,    Kind::line,
                              Kind::arrow, Kind::rect, Kind::ellipse, Kind::blur}; // in the order of the tools
        for (const AnnotationTool tool : allAnnotationTools) {
            const Kind kind = kinds[size_t(tool)];
            const Annotation expected{
                kind, {30, 20, -25, 15}, QColor(255, 59, 48), 7, {}, kind == Kind::blur ? Shape::ellipse : Shape::rect,
                0};
            QCOMPARE(ItemFactory::dragged(tool, {30, 20}, {5, 35}, state.style()), expected);
        }
        const double width = measureTextWidth(u"Hello"_s, 42);
        QCOMPARE(ItemFactory::text(u"Hello"_s, {3, 4}, state.style()),
                 (Annotation{Kind::text, {3, 4, width, 42}, QColor(255, 59, 48), 7, u"Hello"_s, Shape::rect, 0}));
        QCOMPARE(ItemFactory::text(u"i"_s, {}, {Qt::blue, 2, {}}).rect, QRectF(0, 0, 20, 14)); // the least
    }
};

QTEST_MAIN(tst_EditorState)
#include "tst_EditorState.moc"
