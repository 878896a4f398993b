#include "tests/annotate/EditorWindow.h"
#include "tests/support/TempHome.h"

#include <QInputMethodEvent>
#include <QRandomGenerator>

#include <cmath>
#include <numbers>

using namespace qm;
using namespace Qt::StringLiterals;
using Kind = Annotation::Kind;
using Tool = AnnotationTool;
using Selection = std::optional<int>;

static constexpr double pi = std::numbers::pi;

static Annotation item(Kind kind, const QRectF &rect, double rotation = 0)
{
    return {kind, rect, Qt::blue, 4, {}, {}, rotation};
}

static Annotation text(const QString &words, QPointF at)
{
    return ItemFactory::text(words, at, {Qt::blue, 4, {}});
}

struct Drawing {
    Tool tool;
    QPointF from, to;
    bool shift;
    QRectF made; // null: nothing
};

struct Edit {
    Annotation before;
    QPointF from;
    Qt::CursorShape cursor; // there
    QPointF to;
    QRectF rect;
    double rotation = 0;
};

// Also run where a point is two pixels. The picture has 640 x 400 points.
class tst_AnnotationCanvasView : public QObject
{
    Q_OBJECT

    TempHome m_home; // for drafts
    std::unique_ptr<EditorWindow> m_editor;

    static int scale() { return qRound(qGuiApp->devicePixelRatio()); }
    EditorWindow &open(const QList<Annotation> &items, Tool tool = Tool::select)
    {
        m_editor = std::make_unique<EditorWindow>(AnnotationDoc{sampleScreenshot({640, 400}, scale()), {}, items});
        m_editor->choose(tool);
        return *m_editor;
    }

private Q_SLOTS:
    void cleanup() { m_editor.reset(); }

    void drawing_data()
    {
        QTest::addColumn<Drawing>("drawing");
        const auto row = [](const char *name, const Drawing &drawing) { QTest::newRow(name) << drawing; };
        row("line from right to left keeps its sign", {Tool::line, {90, 50}, {30, 80}, false, {90, 50, -60, 30}});
        row("level line of three points", {Tool::line, {10, 10}, {13, 10}, false, {10, 10, 3, 0}});
        row("Shift does nothing to an arrow", {Tool::arrow, {10, 10}, {40, 20}, true, {10, 10, 30, 10}});
        row("rectangle from its upper right", {Tool::rect, {90, 80}, {30, 50}, false, {30, 50, 60, 30}});
        row("two points are no drag", {Tool::rect, {10, 10}, {12, 12}, false, {}});
        row("square crop", {Tool::crop, {10, 10}, {40, 20}, true, {10, 10, 30, 30}});
        row("circle to the lower left", {Tool::ellipse, {100, 100}, {90, 60}, true, {60, 60, 40, 40}});
        row("cover from its upper right", {Tool::cover, {40, 20}, {10, 10}, false, {10, 10, 30, 10}});
        row("highlighter", {Tool::highlighter, {40, 20}, {10, 10}, false, {40, 20, -30, -10}});
        row("blur", {Tool::blur, {10, 10}, {40, 20}, false, {10, 10, 30, 10}});
    }
    void drawing()
    {
        QFETCH(Drawing, drawing);
        const auto &[tool, from, to, shift, made] = drawing;
        EditorWindow &editor = open({}, tool);
        editor.events.modifiers.setFlag(Qt::ShiftModifier, shift);
        editor.events.press(from);
        editor.events.moveTo(to);
        QVERIFY(editor.canvas.draft() && !editor.state().canUndo());
        editor.events.release(to);
        QVERIFY(!editor.canvas.draft() && !editor.canvas.isDragging());
        QCOMPARE(editor.state().undoStack.size(), made.isNull() && !made.width() ? 0 : 1);
        QCOMPARE(editor.state().doc.crop, tool == Tool::crop ? std::optional(made) : std::nullopt);
        QList<Annotation> expected;
        if (tool != Tool::crop && editor.state().canUndo()) {
            expected << ItemFactory::dragged(tool, from, to, editor.state().style());
            expected.last().rect = made;
        }
        QCOMPARE(editor.items(), expected);
    }

    // A number stands where the button is let go of, a pen leaves its course, Ctrl keeps a line level; a crop ends where
    // the picture does, and is shown whole.
    void drawingOtherwise()
    {
        EditorWindow &editor = open({}, Tool::number);
        editor.events.click({50, 60});
        editor.events.drag({100, 60}, {120, 80});
        const ItemStyle style = editor.state().style();
        QList drawn{ItemFactory::number(1, {50, 60}, style), ItemFactory::number(2, {120, 80}, style)};
        editor.choose(Tool::pen);
        editor.events.press({200, 100});
        for (const QPointF at : {QPointF(200.5, 100), QPointF(220, 130), QPointF(240, 100)})
            editor.events.moveTo(at);
        QVERIFY(editor.showsTheExport());
        editor.events.release({240, 101});
        drawn << ItemFactory::pen({{200, 100}, {220, 130}, {240, 100}}, style);
        editor.choose(Tool::line);
        editor.events.modifiers = Qt::ControlModifier;
        editor.events.drag({300, 100}, {350, 104});
        drawn << ItemFactory::dragged(Tool::line, {300, 100}, {350, 100}, style);
        QCOMPARE(editor.items(), drawn);
        editor.events.wheel({300, 100}, {}, {0, 240});
        editor.events.modifiers = {};
        QVERIFY(editor.canvas.zoom() != 1);
        editor.choose(Tool::crop);
        const CanvasMapping shown = editor.canvas.mapping();
        editor.events.drag(shown.toView({-20, 300}), shown.toView({200, 450}));
        QCOMPARE(editor.state().doc.crop, std::optional(QRectF(0, 300, 200, 100)));
        QCoreApplication::processEvents();
        QCOMPARE(editor.canvas.zoom(), 1.0);
        QCOMPARE(editor.canvas.panOffset(), QPointF());
    }

    // Much longer than the canvas: it opens at its beginning, as wide as the canvas; up to four pixels of the screen show
    // one of its own; and what is rendered of it is right wherever one is.
    void scrollingCapture()
    {
        constexpr int width = 600, height = 9000;
        AnnotationDoc doc{sampleScreenshot({width, height}, scale()), {}, {}};
        for (int y = 10; y < height; y += 90)
            doc.items << item(y % 4 ? Kind::ellipse : Kind::blur, {90.5, double(y), 400, 60});
        AnnotationView view(doc, u"/somewhere/tall.png"_s);
        view.resize(500, 500);
        view.show();
        AnnotationCanvasView &canvas = *view.canvas();
        QCOMPARE(canvas.mapping().display.width(), 500.0);
        QVERIFY(std::abs(canvas.mapping().display.bottom() - canvas.height()) < 1e-6);
        QCOMPARE(view.state().zoom, canvas.zoom());
        CanvasEvents events(canvas);
        QTest::keyPress(&canvas, Qt::Key_Space);
        events.drag({250, 100}, {250, 190});
        QTest::keyRelease(&canvas, Qt::Key_Space);
        QVERIFY(std::abs(canvas.mapping().display.bottom() - canvas.height() - 90) < 1e-6);
        const QList<QRectF> marks = PositionMarks::of(canvas.mapping());
        QCOMPARE(marks.size(), 1);
        QVERIFY(marks[0].top() > 3 && marks[0].bottom() < canvas.height() / 2 && marks[0].left() > 490);
        for (int i = 0; i < 30; ++i)
            events.wheel({250, 100}, {0, -33 * (1 + i % 7)}, {});
        QVERIFY(canvas.mapping().display.bottom() > canvas.height() + 3000 && canvas.mapping().display.top() < -500);
        QVERIFY(EditorWindow::showsTheExport(view, 2));
        canvas.zoomAbout({250, 200}, 1000);
        QCOMPARE(canvas.mapping().display.width() * canvas.devicePixelRatioF(), 4.0 * width * scale());
        canvas.repaint();
        QShowEvent shown;
        QApplication::sendEvent(&canvas, &shown);
        events.wheel({250, 100}, {300, -400}, {});
        QVERIFY(EditorWindow::showsTheExport(view, 2));
    }

    void editing_data()
    {
        QTest::addColumn<Edit>("edit");
        const auto row = [](const char *name, const Edit &edit) { QTest::newRow(name) << edit; };
        const Annotation arrow = item(Kind::arrow, {100, 100, 80, -40}), box = item(Kind::rect, {100, 100, 80, 60});
        row("arrow moved", {arrow, {140, 80}, Qt::SizeAllCursor, {150, 95}, {110, 115, 80, -40}});
        row("its start", {arrow, {100, 100}, Qt::PointingHandCursor, {90, 130}, {90, 130, 90, -70}});
        row("its end", {arrow, {180, 60}, Qt::PointingHandCursor, {200, 50}, {100, 100, 100, -50}});
        row("box moved", {box, {140, 130}, Qt::SizeAllCursor, {120, 140}, {80, 110, 80, 60}});
        row("upper right corner", {box, {180, 160}, Qt::SizeBDiagCursor, {220, 170}, {100, 100, 120, 70}});
        row("lower left corner", {box, {100, 100}, Qt::SizeBDiagCursor, {90, 120}, {90, 120, 90, 40}});
        row("lower right corner", {box, {180, 100}, Qt::SizeFDiagCursor, {190, 80}, {100, 80, 90, 80}});
        row("upper left beyond the fixed corner", {box, {100, 160}, Qt::SizeFDiagCursor, {200, 80}, {180, 80, 20, 20}});
        row("number by its corner, still round", {ItemFactory::number(1, {120, 130}, {Qt::blue, 4, {}, {}}),
                                                  {134, 144},
                                                  Qt::SizeBDiagCursor,
                                                  {150, 150},
                                                  {106, 116, 44, 44}});
        row("a quarter turn to the left", {box, {140, 186}, Qt::BitmapCursor, {84, 130}, box.rect, pi / 2});
        row("and on", {item(Kind::rect, box.rect, pi / 2), {84, 130}, Qt::BitmapCursor, {140, 74}, box.rect, pi});
        row("rotated box has no corners",
            {item(Kind::rect, box.rect, 0.001), {180, 160}, Qt::SizeAllCursor, {190, 160}, {110, 100, 80, 60}, 0.001});
        const Annotation words = text(u"Hello"_s, {100, 100});
        row("text grows to the pointer's height",
            {words, {100, 124}, Qt::SizeVerCursor, {50, 150}, {100, 100, measureTextWidth(u"Hello"_s, 50), 50}});
        row("text has a least size",
            {words, {100, 124}, Qt::SizeVerCursor, {100, 101}, {100, 100, measureTextWidth(u"Hello"_s, 8), 8}});
    }
    void editing()
    {
        QFETCH(Edit, edit);
        const auto &[before, from, cursor, to, rect, rotation] = edit;
        const QList items{before, item(Kind::rect, {120, 172, 40, 40})}; // the other lies over the handle that rotates
        EditorWindow &editor = open(items);
        editor.events.click(before.rect.center());
        QCOMPARE(editor.state().selectedIndex, Selection(0));
        editor.events.hover(from);
        QCOMPARE(editor.canvas.cursor().shape(), cursor);

        // Escape and Undo end a drag as if nothing had been.
        const QKeyCombination endings[] = {Qt::Key_Escape, Qt::CTRL | Qt::Key_Z};
        for (const QKeyCombination ending : endings) {
            editor.events.press(from);
            editor.events.moveTo(from + QPointF(40, 60));
            QVERIFY(editor.items() != items);
            editor.key(ending);
            editor.events.moveTo(to);
            editor.events.release(to);
            QCOMPARE(editor.items(), items);
        }

        const qsizetype entries = editor.state().undoStack.size();
        editor.events.drag(from, to);
        QCOMPARE(editor.state().undoStack.size(), entries + 1);
        QCOMPARE(editor.state().selectedIndex, Selection(0));
        QList edited = editor.items();
        QCOMPARE(edited[0].rect, rect);
        QVERIFY(std::abs(std::remainder(edited[0].rotation - rotation, 2 * pi)) < 1e-9);
        edited[0].rect = before.rect;
        edited[0].rotation = before.rotation;
        QCOMPARE(edited, items); // nothing else
    }

    // What is dragged goes, the window closes, the other button or the space bar is let go of elsewhere.
    void aDragThatIsCutShort()
    {
        EditorWindow &editor = open({item(Kind::rect, {10, 10, 40, 40}), item(Kind::rect, {100, 100, 80, 60})});
        editor.events.press({140, 130});
        QCoreApplication::processEvents();
        editor.click(u"Delete selected"_s);
        editor.events.moveTo({150, 130});
        editor.events.release({150, 130});
        QCOMPARE(editor.items(), QList{item(Kind::rect, {10, 10, 40, 40})});

        editor.choose(Tool::rect);
        QTest::keyPress(&editor.canvas, Qt::Key_Space);
        editor.canvas.clearFocus();
        editor.events.drag({200, 200}, {250, 250});
        QCOMPARE(editor.items().size(), 2);
        editor.events.button = Qt::RightButton;
        editor.events.drag({300, 200}, {350, 250});
        QCOMPARE(editor.canvas.panOffset(), QPointF());

        editor.events.button = Qt::LeftButton;
        editor.events.press({30, 30});
        editor.view.hide();
        QVERIFY(!editor.canvas.isDragging());
    }

    void textEntry()
    {
        EditorWindow &editor = open({}, Tool::text);
        editor.events.click({50, 40});
        QLineEdit *field = editor.canvas.textField();
        QVERIFY(field && field->hasFocus() && field->testAttribute(Qt::WA_InputMethodEnabled));
        QCOMPARE(field->geometry(), QRect(50, 400 - 40 - 24, 200, 24));

        // As an input method sends it: first what is being composed, then what was chosen.
        QInputMethodEvent composing(u"にほん"_s, {});
        QApplication::sendEvent(field, &composing);
        QCOMPARE(field->text(), QString());
        QInputMethodEvent chosen;
        chosen.setCommitString(u"日本"_s);
        QApplication::sendEvent(field, &chosen);
        QTest::keyClicks(field, u"vb \\"_s); // letters that would choose tools
        for (const Qt::Key key : {Qt::Key_Backspace, Qt::Key_Left, Qt::Key_Up, Qt::Key_End})
            editor.key(key);
        editor.events.click({80, 200}); // the first text takes its place before the second field opens
        const QList made{ItemFactory::text(u"日本vb "_s, {50, 40}, editor.state().style())};
        QCOMPARE(editor.items(), made);
        QVERIFY(editor.canvas.textField() && editor.canvas.textField() != field);
        editor.key(Qt::Key_Return);
        QVERIFY(!editor.canvas.textField() && editor.canvas.hasFocus());

        editor.events.click({80, 200});
        QTest::keyClicks(editor.canvas.textField(), u"gone"_s);
        editor.key(Qt::Key_Escape);
        QVERIFY(!editor.canvas.textField());
        QCOMPARE(editor.items(), made);
        QCOMPARE(editor.state().undoStack.size(), 1);
        QCOMPARE(editor.state().tool, Tool::text);
        QCOMPARE(editor.state().statusText, QString()); // a field's Return does not copy
    }

    void textEditedAgain()
    {
        Annotation words = text(u"Hello"_s, {100, 100});
        words.rect.setHeight(80); // more than its field hides
        words.rotation = 0.2;
        EditorWindow &editor = open({item(Kind::rect, {10, 10, 40, 40}), words});
        editor.events.doubleClick({110, 110});
        QVERIFY(!editor.showsTheExport()); // the field stands for the item
        QCOMPARE(editor.canvas.textField()->text(), u"Hello"_s);
        const qsizetype entries = editor.state().undoStack.size();
        QTest::keyClicks(editor.canvas.textField(), u"Bye"_s); // in place of all that was there
        editor.key(Qt::Key_Enter);
        QCOMPARE(editor.state().undoStack.size(), entries + 1);
        words.text = u"Bye"_s;
        words.rect.setWidth(measureTextWidth(u"Bye"_s, 80));
        QCOMPARE(editor.items()[1], words);

        editor.events.doubleClick({110, 110});
        editor.canvas.textField()->clear();
        editor.key(Qt::Key_Return);
        QCOMPARE(editor.items().size(), 1);
        QVERIFY(!editor.state().selectedIndex);
    }

    void zoomingAndPanning()
    {
        EditorWindow &editor = open({});
        AnnotationCanvasView &canvas = editor.canvas;
        editor.events.modifiers = Qt::ControlModifier;
        const QPointF at(300, 100), under = canvas.mapping().toImage(at);
        editor.events.wheel(at, {}, {0, 2 * 120});
        QCOMPARE(canvas.zoom(), 1.1);
        editor.events.wheel(at, {0, 50}, {0, 120}); // pixels count before notches
        QCOMPARE(canvas.zoom(), 1.1 * 1.5);
        editor.events.pinch(at, 0.25);
        QCOMPARE(canvas.zoom(), 1.1 * 1.5 * 1.25);
        QVERIFY(QLineF(canvas.mapping().toImage(at), under).length() < 1e-9);
        editor.events.wheel(at, {0, -60}, {});
        QTRY_VERIFY(editor.showsTheExport()); // sharp again once it rests

        editor.events.wheel(at, {0, 5000}, {});
        QCOMPARE(canvas.zoom(), 8.0);
        editor.events.wheel(at, {0, -5000}, {});
        QCOMPARE(canvas.zoom(), 0.2);
        editor.events.wheel(at, {0, 402}, {}); // to 1.004
        QCOMPARE(canvas.zoom(), 1.0);
        QCOMPARE(canvas.panOffset(), QPointF());
        editor.events.modifiers = {};
        editor.events.wheel(at, {7, 20}, {0, 120}); // down and to the right, as the content of any view
        QCOMPARE(canvas.panOffset(), QPointF(7, -20));
        editor.events.wheel(at, {}, {0, -120});
        QCOMPARE(canvas.panOffset(), QPointF(7, -20 + 16 * QApplication::wheelScrollLines()));
        editor.events.wheel(at, {-5000, 5000}, {});
        QCOMPARE(canvas.panOffset(), QPointF(-640, -400));

        editor.choose(Tool::rect);
        editor.events.button = Qt::MiddleButton;
        editor.events.drag({100, 100}, {130, 150});
        editor.events.button = Qt::LeftButton;
        QTest::keyPress(&canvas, Qt::Key_Space);
        QCOMPARE(canvas.cursor().shape(), Qt::OpenHandCursor);
        editor.events.drag({100, 100}, {90, 100});
        QTest::keyRelease(&canvas, Qt::Key_Space);
        QCOMPARE(canvas.cursor().shape(), Qt::CrossCursor);
        QCOMPARE(canvas.panOffset(), QPointF(-620, -350));
        editor.sharpen();
        QVERIFY(editor.items().isEmpty() && editor.showsTheExport());
    }

    // What is seen, pixel by pixel, is what an export has, while each item is dragged and when it is let go.
    void showsTheExport()
    {
        m_editor = std::make_unique<EditorWindow>(sampleDocument(scale()));
        EditorWindow &editor = *m_editor;
        editor.choose(Tool::select);
        QVERIFY(editor.showsTheExport());
        for (int i = 0; i < editor.items().size(); ++i) {
            const QPointF on = editor.items()[i].rect.center();
            editor.events.press(on);
            editor.events.moveTo(on + QPointF(17.3, -9.7));
            QVERIFY2(editor.showsTheExport(), qPrintable(QString::number(i)));
            editor.events.release(on + QPointF(17.3, -9.7));
            editor.key(Qt::Key_Escape);
            QVERIFY2(editor.showsTheExport(), qPrintable(QString::number(i)));
        }
    }

    void randomSession_data()
    {
        QTest::addColumn<int>("seed");
        for (int seed = 1; seed <= 4; ++seed)
            QTest::addRow("seed %d", seed) << seed;
    }

    // Whatever is done, in whatever order: the canvas shows what the export writes, and undoing all of it leads back.
    void randomSession()
    {
        QFETCH(int, seed);
        QRandomGenerator random{quint32(seed)};
        m_editor = std::make_unique<EditorWindow>(sampleDocument(scale()));
        EditorWindow &editor = *m_editor;
        AnnotationCanvasView &canvas = editor.canvas;
        CanvasEvents &events = editor.events;
        const AnnotationDoc start = editor.state().doc;
        const auto anywhere = [&] {
            return QPointF(random.bounded(canvas.width() + 40.0) - 20, random.bounded(canvas.height() + 40.0) - 20);
        };
        const QKeyCombination undo = Qt::CTRL | Qt::Key_Z, redo = Qt::CTRL | Qt::SHIFT | Qt::Key_Z;
        const QKeyCombination keys[] = {undo,
                                        undo,
                                        undo,
                                        undo,
                                        undo,
                                        redo,
                                        redo,
                                        redo,
                                        redo,
                                        redo,
                                        Qt::Key_V,
                                        Qt::Key_V,
                                        Qt::Key_C,
                                        Qt::Key_T,
                                        Qt::Key_A,
                                        Qt::Key_M,
                                        Qt::Key_L,
                                        Qt::Key_B,
                                        Qt::Key_Delete,
                                        Qt::Key_Escape,
                                        Qt::Key_Left,
                                        Qt::Key_Up,
                                        Qt::Key_Right,
                                        Qt::Key_Backslash,
                                        Qt::Key_Space,
                                        Qt::Key_Return,
                                        Qt::Key_Enter,
                                        Qt::Key_Backspace,
                                        Qt::Key_Down,
                                        Qt::Key_X,
                                        Qt::Key_N,
                                        Qt::Key_H,
                                        Qt::Key_P,
                                        Qt::Key_PageUp,
                                        Qt::CTRL | Qt::Key_D};
        QPointF last = anywhere();
        // Not the slider and the colour well: what they do has no undo entry.
        for (int i = 0; i < 3000 / scale() / scale(); ++i) {
            events.modifiers = random.bounded(8) == 0 ? Qt::ShiftModifier : Qt::NoModifier;
            const int what = random.bounded(14);
            if (what < 1) {
                events.press(last = anywhere());
            } else if (what < 4) {
                events.moveTo(last += QPointF(random.bounded(60.0) - 30, random.bounded(60.0) - 30));
            } else if (what < 6) {
                events.release(last);
            } else if (what < 7) {
                events.doubleClick(last = anywhere());
            } else if (what < 11) {
                editor.key(keys[random.bounded(int(std::size(keys)))]);
            } else if (what < 12) {
                events.modifiers.setFlag(Qt::ControlModifier, random.bounded(2));
                events.wheel(anywhere(), {}, {random.bounded(240) - 120, random.bounded(480) - 240});
            } else if (what < 13 && !editor.items().isEmpty()) { // on something, or nothing but drawing would happen
                const Annotation &chosen = editor.items()[random.bounded(int(editor.items().size()))];
                last = canvas.mapping().toView(random.bounded(2) ? chosen.rect.center() : chosen.end());
                editor.key(Qt::Key_V);
                events.press(last);
            } else {
                QCoreApplication::processEvents();
                if (random.bounded(3) == 0)
                    editor.click(u"Reset zoom"_s);
                editor.sharpen();
                // A stretched picture is interpolated a little differently in parts.
                QVERIFY2(canvas.textField() || editor.showsTheExport(24), qPrintable(QString::number(i)));
            }
            QVERIFY(!editor.state().selectedIndex || *editor.state().selectedIndex >= 0);
        }
        canvas.cancelText();
        events.release(last);
        QVERIFY(editor.state().canUndo());
        while (editor.state().canRedo())
            editor.key(redo);
        const AnnotationDoc end = editor.state().doc;
        while (editor.state().canUndo())
            editor.key(undo);
        QCOMPARE(editor.items(), start.items);
        QVERIFY(!editor.state().doc.crop);
        while (editor.state().canRedo())
            editor.key(redo);
        QCOMPARE(editor.items(), end.items);
        QCOMPARE(editor.state().doc.crop, end.crop);
    }
};

QTEST_MAIN(tst_AnnotationCanvasView)
#include "tst_AnnotationCanvasView.moc"
