#include "annotate/document/EditorState.h"
#include "annotate/render/AnnotationRenderer.h"

#include <QRandomGenerator>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
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

static void setCrop(EditorState &state, const QRectF &crop)
{
    state.pushUndo();
    state.doc.crop = crop;
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
        state.resetZoom();
        QCOMPARE(state.zoomLabel(), u"100%"_s);
    }

    void history()
    {
        EditorState state;
        state.undo();
        state.redo();
        QVERIFY(!state.canUndo() && !state.canRedo());

        addItem(state, box(1));
        setCrop(state, {1, 2, 3, 4});
        setCrop(state, {5, 6, 7, 8});
        QCOMPARE(state.doc.crop, QRectF(5, 6, 7, 8));
        QCOMPARE(state.undoStack.size(), 3);
        state.undo();
        QCOMPARE(state.doc.crop, QRectF(1, 2, 3, 4));
        state.undo();
        QVERIFY(!state.doc.crop && state.canRedo());
        state.redo();
        QCOMPARE(state.doc.crop, QRectF(1, 2, 3, 4));
        addItem(state, box(2));
        QVERIFY(!state.canRedo());
        QCOMPARE(state.undoStack.size(), 3);
    }

    void deleteSelected()
    {
        EditorState state;
        addItem(state, box(1));
        addItem(state, box(2));
        for (const auto index : {std::optional<int>(), std::optional(2), std::optional(-1)}) {
            state.selectedIndex = index;
            state.deleteSelected();
            QCOMPARE(state.doc.items.size(), 2);
            QCOMPARE(state.undoStack.size(), 2);
        }
        state.selectedIndex = 0;
        state.deleteSelected();
        QCOMPARE(state.doc.items, QList{box(2)});
        QVERIFY(!state.selectedIndex);
        state.undo();
        QCOMPARE(state.doc.items, (QList{box(1), box(2)}));
    }

    void colourAndWidthFollowTheSelection()
    {
        EditorState state;
        addItem(state, box(1));
        addItem(state, box(2));
        state.setColor(Qt::green); // nothing selected: for new items only
        QCOMPARE(state.doc.items[1], box(2));
        state.selectedIndex = 1;
        state.setColor(Qt::black);
        state.setLineWidth(11);
        QCOMPARE(state.doc.items[1].color, QColor(Qt::black));
        QCOMPARE(state.doc.items[1].lineWidth, 11.0);
        QCOMPARE(state.doc.items[0], box(1));
        QCOMPARE(state.undoStack.size(), 2); // no entry of their own
        state.undo();
        QCOMPARE(state.doc.items, QList{box(1)});
        QCOMPARE(state.selectedIndex, std::optional(1)); // left as it is, naming nothing now
        state.setColor(Qt::red);
        state.setLineWidth(1);
        QVERIFY(!state.selectedItem());
        QCOMPARE(state.doc.items, QList{box(1)});
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
    }

    void newText()
    {
        const Annotation wide = ItemFactory::text(u"Hello"_s, {3, 4}, {Qt::blue, 7, Annotation::BlurShape::ellipse});
        QCOMPARE(wide, (Annotation{Kind::text,
                                   {3, 4, AnnotationRenderer::measureTextWidth(u"Hello"_s, 42), 42},
                                   Qt::blue,
                                   7,
                                   u"Hello"_s,
                                   Annotation::BlurShape::rect,
                                   0}));
        QCOMPARE(ItemFactory::text(u"i"_s, {}, {Qt::blue, 2, {}}).rect, QRectF(0, 0, 20, 14));
    }

    void undoOfEverythingIsTheStart()
    {
        QRandomGenerator random(11);
        EditorState state;
        addItem(state, box(0));
        const QList<Annotation> start = state.doc.items;
        state.undoStack.clear();
        for (int i = 0; i < 2000; ++i) {
            switch (random.bounded(7)) {
            case 0: addItem(state, box(i)); break;
            case 1: state.deleteSelected(); break;
            case 2: state.undo(); break;
            case 3: state.redo(); break;
            case 4: state.selectedIndex = random.bounded(6) - 1; break;
            case 5: setCrop(state, {double(i), 0, 5, 5}); break;
            case 6:
                state.pushUndo();
                for (Annotation &item : state.doc.items)
                    item.rect.translate(1, 0);
            }
        }
        while (state.canRedo())
            state.redo();
        const AnnotationDoc end = state.doc;
        while (state.canUndo())
            state.undo();
        QCOMPARE(state.doc.items, start);
        QVERIFY(!state.doc.crop);
        while (state.canRedo())
            state.redo();
        QCOMPARE(state.doc.items, end.items);
        QCOMPARE(state.doc.crop, end.crop);
    }
};

QTEST_MAIN(tst_EditorState)
#include "tst_EditorState.moc"
