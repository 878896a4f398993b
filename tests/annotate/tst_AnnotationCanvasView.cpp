#include "annotate/editor/AnnotationCanvasView.h"
#include "annotate/editor/SelectionMarks.h"
#include "annotate/render/AnnotationRenderer.h"
#include "tests/annotate/CanvasEvents.h"
#include "tests/annotate/SampleDocument.h"

#include <QInputMethodEvent>
#include <QLineEdit>
#include <QTest>

#include <cmath>
#include <numbers>

using namespace qm;
using namespace Qt::StringLiterals;
using Kind = Annotation::Kind;
using Tool = AnnotationTool;
using OptionalRect = std::optional<QRectF>;

Q_DECLARE_METATYPE(qm::Annotation)

// A picture of 400 x 300 points in a canvas of the same size: view and image points agree until something is zoomed.
class tst_AnnotationCanvasView : public QObject
{
    Q_OBJECT

    std::unique_ptr<AnnotationCanvasView> m_canvas;
    QStringList m_calls; // names of the callbacks, in their order
    QList<Annotation> m_committed;
    OptionalRect m_crop;

    static Annotation item(Kind kind, const QRectF &rect, double rotation = 0)
    {
        return {kind, rect, Qt::blue, 4, {}, {}, rotation};
    }
    static Annotation text(const QString &words, QPointF at) { return ItemFactory::text(words, at, {Qt::blue, 4, {}}); }

    void show(const QList<Annotation> &items, Tool tool = Tool::select, std::optional<int> selected = {})
    {
        m_canvas->doc.items = items;
        m_canvas->tool = tool;
        m_canvas->selectedIndex = selected;
        m_canvas->redisplay();
        m_calls.clear();
    }
    QRectF rect(int index) const { return m_canvas->doc.items[index].rect; }

private Q_SLOTS:
    void init()
    {
        m_canvas = std::make_unique<AnnotationCanvasView>();
        AnnotationCanvasView &canvas = *m_canvas;
        canvas.resize(400, 300);
        canvas.doc.source = sampleScreenshot({400, 300}, 1);
        m_committed.clear();
        m_crop.reset();
        canvas.onCommit = [this](const Annotation &made) {
            m_calls << u"commit"_s;
            m_committed << made;
        };
        canvas.onCrop = [this](const QRectF &crop) {
            m_calls << u"crop"_s;
            m_crop = crop;
        };
        canvas.onReplaceItems = [this](const QList<Annotation> &) { m_calls << u"replace"_s; };
        canvas.onSnapshot = [this] { m_calls << u"snapshot"_s; };
        canvas.onZoomChanged = [this](double) { m_calls << u"zoom"_s; };
        canvas.onSelect = [this](std::optional<int> index) {
            m_calls << u"select %1"_s.arg(index ? QString::number(*index) : u"none"_s);
        };
        canvas.onDelete = [this] { m_calls << u"delete"_s; };
        canvas.show();
        canvas.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&canvas));
    }
    void cleanup() { m_canvas.reset(); }

    void drawing_data()
    {
        QTest::addColumn<int>("tool");
        QTest::addColumn<QPointF>("from");
        QTest::addColumn<QPointF>("to");
        QTest::addColumn<bool>("shift");
        QTest::addColumn<QRectF>("made"); // null: nothing
        const auto row = [](const char *name, Tool tool, QPointF from, QPointF to, bool shift, const QRectF &made) {
            QTest::newRow(name) << int(tool) << from << to << shift << made;
        };
        row("line from right to left keeps its sign", Tool::line, {90, 50}, {30, 80}, false, {90, 50, -60, 30});
        row("level line of three points", Tool::line, {10, 10}, {13, 10}, false, {10, 10, 3, 0});
        row("Shift does nothing to an arrow", Tool::arrow, {10, 10}, {40, 20}, true, {10, 10, 30, 10});
        row("rectangle from its upper right", Tool::rect, {90, 80}, {30, 50}, false, {30, 50, 60, 30});
        row("two points are no drag", Tool::rect, {10, 10}, {12, 12}, false, {});
        row("square crop", Tool::crop, {10, 10}, {40, 20}, true, {10, 10, 30, 30});
        row("circle to the lower left", Tool::ellipse, {100, 100}, {90, 60}, true, {60, 60, 40, 40});
        row("blur", Tool::blur, {10, 10}, {40, 20}, false, {10, 10, 30, 10});
    }
    void drawing()
    {
        QFETCH(int, tool);
        QFETCH(QPointF, from);
        QFETCH(QPointF, to);
        QFETCH(bool, shift);
        QFETCH(QRectF, made);
        m_canvas->strokeColor = Qt::green;
        m_canvas->strokeWidth = 5;
        m_canvas->blurShape = Annotation::BlurShape::ellipse;
        show({}, Tool(tool));
        CanvasEvents events(*m_canvas);
        if (shift)
            events.modifiers = Qt::ShiftModifier;
        events.press(from);
        events.moveTo(to);
        QVERIFY(m_canvas->draft() && m_calls.isEmpty());
        events.release(to);
        QVERIFY(!m_canvas->draft() && !m_canvas->isDragging());
        if (made.isNull() && made.width() == 0) {
            QCOMPARE(m_calls, QStringList());
        } else if (Tool(tool) == Tool::crop) {
            QCOMPARE(m_crop, OptionalRect(made));
            QCOMPARE(m_calls, QStringList{u"crop"_s});
        } else {
            QCOMPARE(m_calls, QStringList{u"commit"_s});
            Annotation expected = ItemFactory::dragged(Tool(tool), from, to, {Qt::green, 5, m_canvas->blurShape});
            expected.rect = made;
            QCOMPARE(m_committed, QList{expected});
        }
    }

    void editing_data()
    {
        QTest::addColumn<Annotation>("before");
        QTest::addColumn<QPointF>("from");
        QTest::addColumn<QPointF>("to");
        QTest::addColumn<QRectF>("rect");
        const auto row = [](const char *name, const Annotation &before, QPointF from, QPointF to, const QRectF &rect) {
            QTest::newRow(name) << before << from << to << rect;
        };
        const Annotation arrow = item(Kind::arrow, {100, 100, 80, -40}), box = item(Kind::rect, {100, 100, 80, 60});
        row("arrow moved", arrow, {140, 80}, {150, 95}, {110, 115, 80, -40});
        row("its start", arrow, {100, 100}, {90, 130}, {90, 130, 90, -70});
        row("its end", arrow, {180, 60}, {200, 50}, {100, 100, 100, -50});
        row("box moved", box, {140, 130}, {120, 140}, {80, 110, 80, 60});
        row("upper right corner", box, {180, 160}, {220, 170}, {100, 100, 120, 70});
        row("lower left corner", box, {100, 100}, {90, 120}, {90, 120, 90, 40});
        row("upper left beyond the fixed corner", box, {100, 160}, {200, 80}, {180, 80, 20, 20});
        row("rotated box has no corners", item(Kind::rect, {100, 100, 80, 60}, 0.001), {180, 160}, {190, 160},
            {110, 100, 80, 60});
        const Annotation words = text(u"Hello"_s, {100, 100});
        row("text grows to the pointer's height", words, {100, 124}, {50, 150},
            {100, 100, AnnotationRenderer::measureTextWidth(u"Hello"_s, 50), 50});
        row("text has a least size", words, {100, 124}, {100, 101},
            {100, 100, AnnotationRenderer::measureTextWidth(u"Hello"_s, 8), 8});
    }
    void editing()
    {
        QFETCH(Annotation, before);
        QFETCH(QPointF, from);
        QFETCH(QPointF, to);
        QFETCH(QRectF, rect);
        show({before, item(Kind::rect, {300, 200, 20, 20})});
        CanvasEvents events(*m_canvas);
        events.press(from);
        QCOMPARE(m_calls, (QStringList{u"snapshot"_s, u"select 0"_s}));
        events.moveTo((from + to) / 2);
        events.moveTo(to);
        events.release(to);
        QCOMPARE(m_calls.mid(2), (QStringList{u"replace"_s, u"replace"_s}));
        QCOMPARE(this->rect(0), rect);
        Annotation expected = before;
        expected.rect = m_canvas->doc.items[0].rect;
        QCOMPARE(m_canvas->doc.items, (QList{expected, item(Kind::rect, {300, 200, 20, 20})}));
        QCOMPARE(m_canvas->dragMode(), DragMode::none);
    }

    void rotating()
    {
        show({item(Kind::rect, {100, 100, 80, 60}), item(Kind::rect, {120, 160, 40, 40})}, Tool::select, 0);
        CanvasEvents events(*m_canvas);
        events.press({140, 186}); // on the handle, and on the other item, which lies above
        QCOMPARE(m_canvas->dragMode(), DragMode::rotate);
        QCOMPARE(m_calls, QStringList{u"snapshot"_s}); // the selection stays as it is
        events.moveTo({84, 130});                      // a quarter turn to the left
        QVERIFY(std::abs(m_canvas->doc.items[0].rotation - std::numbers::pi / 2) < 1e-9);
        QCOMPARE(rect(0), QRectF(100, 100, 80, 60));
        events.release({84, 130});

        const SelectionMarks marks = SelectionMarks::of(m_canvas->doc.items[0], m_canvas->mapping());
        QVERIFY(marks.squares.isEmpty() && marks.circles.size() == 1 && marks.outline.isClosed());
        QVERIFY(QLineF(marks.circles[0], QPointF(84, 130)).length() < 1e-6);
        QVERIFY(QLineF(marks.stem->p1(), QPointF(110, 130)).length() < 1e-6);
    }

    void pressWithoutAMove()
    {
        show({item(Kind::ellipse, {100, 100, 80, 60})}, Tool::select, 5); // names no item
        CanvasEvents events(*m_canvas);
        events.click({140, 130});
        QCOMPARE(m_calls, (QStringList{u"snapshot"_s, u"select 0"_s}));
        events.click({300, 30});
        QCOMPARE(m_calls.mid(2), QStringList{u"select none"_s});
        QVERIFY(!m_canvas->selectedIndex);
    }

    void anItemThatGoesDuringItsDrag()
    {
        show({item(Kind::rect, {10, 10, 40, 40}), item(Kind::rect, {100, 100, 80, 60})});
        CanvasEvents events(*m_canvas);
        events.press({140, 130});
        m_canvas->doc.items.removeLast();
        events.moveTo({150, 130});
        events.release({150, 130});
        QVERIFY(!m_calls.contains(u"replace"_s));
        QCOMPARE(rect(0), QRectF(10, 10, 40, 40));
    }

    void cancelledDrag()
    {
        const Annotation before = item(Kind::rect, {100, 100, 80, 60}, 0.5);
        show({before}, Tool::select, 0);
        CanvasEvents events(*m_canvas);
        events.press({140, 130});
        events.moveTo({200, 200});
        QVERIFY(m_canvas->cancelDrag() && !m_canvas->cancelDrag());
        QCOMPARE(m_canvas->doc.items, QList{before});
        QCOMPARE(m_calls.last(), u"replace"_s);
        events.moveTo({210, 200});
        events.release({210, 200});
        QCOMPARE(m_canvas->doc.items, QList{before});

        show({}, Tool::rect);
        events.press({10, 10});
        events.moveTo({50, 50});
        QVERIFY(m_canvas->cancelDrag() && !m_canvas->draft());
        events.release({60, 60});
        QCOMPARE(m_calls, QStringList());
    }

    void textEntry()
    {
        show({}, Tool::text);
        CanvasEvents events(*m_canvas);
        events.click({50, 40});
        QLineEdit *field = m_canvas->textField();
        QVERIFY(field && field->hasFocus());
        QCOMPARE(field->geometry(), QRect(50, 300 - 40 - 24, 200, 24));

        // As an input method sends it: first what is being composed, then what was chosen.
        QInputMethodEvent composing(u"にほん"_s, {});
        QApplication::sendEvent(field, &composing);
        QCOMPARE(field->text(), QString());
        QInputMethodEvent chosen;
        chosen.setCommitString(u"日本"_s);
        QApplication::sendEvent(field, &chosen);
        QTest::keyClicks(field, u"vb \\"_s);
        QTest::keyClick(field, Qt::Key_Backspace);
        events.click({80, 200}); // the first text takes its place before the second field opens
        QCOMPARE(m_committed, QList{ItemFactory::text(u"日本vb "_s, {50, 40}, {m_canvas->strokeColor, 3, {}})});
        QVERIFY(m_canvas->textField() && m_canvas->textField() != field);
        QTest::keyClick(m_canvas->textField(), Qt::Key_Return);
        QVERIFY(!m_canvas->textField() && m_canvas->hasFocus());
        QCOMPARE(m_calls, QStringList{u"commit"_s}); // nothing was typed into the second

        events.click({80, 200});
        QTest::keyClicks(m_canvas->textField(), u"gone"_s);
        QVERIFY(m_canvas->cancelText() && !m_canvas->cancelText());
        QCOMPARE(m_calls.size(), 1);
    }

    void textEditedAgain()
    {
        Annotation words = text(u"Hello"_s, {100, 100});
        words.rotation = 0.2;
        show({item(Kind::rect, {10, 10, 40, 40}), words});
        CanvasEvents events(*m_canvas);
        events.doubleClick({110, 110});
        QCOMPARE(m_calls, (QStringList{u"snapshot"_s, u"select 1"_s})); // of the first click alone
        QCOMPARE(m_canvas->textField()->text(), u"Hello"_s);
        QTest::keyClicks(m_canvas->textField(), u"Bye"_s); // in place of all that was there
        QTest::keyClick(m_canvas->textField(), Qt::Key_Enter);
        QCOMPARE(m_calls.mid(2), (QStringList{u"snapshot"_s, u"replace"_s}));
        words.text = u"Bye"_s;
        words.rect.setWidth(AnnotationRenderer::measureTextWidth(u"Bye"_s, 24));
        QCOMPARE(m_canvas->doc.items[1], words);

        events.doubleClick({110, 110});
        m_canvas->textField()->clear();
        QTest::keyClick(m_canvas->textField(), Qt::Key_Return);
        QCOMPARE(m_canvas->doc.items.size(), 1);
        QCOMPARE(m_calls.last(), u"select none"_s);
    }

    void zooming()
    {
        show({});
        CanvasEvents events(*m_canvas);
        events.modifiers = Qt::ControlModifier;
        const QPointF at(300, 100);
        const QPointF under = m_canvas->mapping().toImage(at);
        events.wheel(at, {}, {0, 2 * 120});
        QCOMPARE(m_canvas->zoom(), 1.1);
        events.wheel(at, {0, 50}, {0, 120}); // pixels count before notches
        QCOMPARE(m_canvas->zoom(), 1.1 * 1.5);
        events.pinch(at, 0.25);
        QCOMPARE(m_canvas->zoom(), 1.1 * 1.5 * 1.25);
        QVERIFY(QLineF(m_canvas->mapping().toImage(at), under).length() < 1e-9);
        QCOMPARE(m_calls, (QStringList{u"zoom"_s, u"zoom"_s, u"zoom"_s}));
        events.wheel(at, {0, 5000}, {});
        QCOMPARE(m_canvas->zoom(), 8.0);
        events.wheel(at, {0, -5000}, {});
        QCOMPARE(m_canvas->zoom(), 0.2);
        m_canvas->zoomAbout(at, 1.004);
        QCOMPARE(m_canvas->zoom(), 1.0);
        QCOMPARE(m_canvas->panOffset(), QPointF());
    }

    void panning()
    {
        show({}, Tool::rect);
        CanvasEvents events(*m_canvas);
        events.wheel({10, 10}, {7, 20}, {0, 120}); // down and to the right, as the content of any view
        QCOMPARE(m_canvas->panOffset(), QPointF(7, -20));
        events.wheel({10, 10}, {}, {0, -120});
        QCOMPARE(m_canvas->panOffset(), QPointF(7, -20 + 16 * QApplication::wheelScrollLines()));
        events.wheel({10, 10}, {-5000, 5000}, {});
        QCOMPARE(m_canvas->panOffset(), QPointF(-400, -300));

        events.button = Qt::MiddleButton;
        events.drag({100, 100}, {130, 150});
        QCOMPARE(m_canvas->panOffset(), QPointF(-370, -250));
        events.button = Qt::LeftButton;
        QTest::keyPress(m_canvas.get(), Qt::Key_Space);
        QCOMPARE(m_canvas->cursor().shape(), Qt::OpenHandCursor);
        events.drag({100, 100}, {90, 100});
        QTest::keyRelease(m_canvas.get(), Qt::Key_Space);
        QCOMPARE(m_canvas->panOffset(), QPointF(-380, -250));
        QCOMPARE(m_calls, QStringList()); // nothing was drawn
        QCOMPARE(m_canvas->cursor().shape(), Qt::CrossCursor);
    }

    void cursors_data()
    {
        QTest::addColumn<QPointF>("at");
        QTest::addColumn<Qt::CursorShape>("shape");
        QTest::newRow("nothing") << QPointF(300, 30) << Qt::ArrowCursor;
        QTest::newRow("inside") << QPointF(140, 130) << Qt::SizeAllCursor;
        QTest::newRow("upper right") << QPointF(180, 160) << Qt::SizeBDiagCursor;
        QTest::newRow("lower left") << QPointF(100, 100) << Qt::SizeBDiagCursor;
        QTest::newRow("upper left") << QPointF(100, 160) << Qt::SizeFDiagCursor;
        QTest::newRow("lower right") << QPointF(180, 100) << Qt::SizeFDiagCursor;
        QTest::newRow("rotation handle") << QPointF(140, 186) << Qt::BitmapCursor;
        QTest::newRow("end of a line") << QPointF(60, 250) << Qt::PointingHandCursor;
    }
    void cursors()
    {
        QFETCH(QPointF, at);
        show({item(Kind::rect, {100, 100, 80, 60}), item(Kind::line, {10, 250, 50, 0})}, Tool::select, 0);
        CanvasEvents(*m_canvas).hover(at);
        QTEST(m_canvas->cursor().shape(), "shape");
    }

    void deleteKey()
    {
        QWidget parent; // hears the keys that the canvas passes on
        QList<int> passed;
        struct Filter : QObject {
            QList<int> *keys;
            bool eventFilter(QObject *, QEvent *event) override
            {
                if (event->type() == QEvent::KeyPress)
                    *keys << static_cast<QKeyEvent *>(event)->key();
                return false;
            }
        } filter;
        filter.keys = &passed;
        parent.installEventFilter(&filter);
        m_canvas->setParent(&parent);
        show({item(Kind::rect, {100, 100, 80, 60})});
        QTest::keyClick(m_canvas.get(), Qt::Key_Delete);
        QTest::keyClick(m_canvas.get(), Qt::Key_A);
        QCOMPARE(passed, (QList<int>{Qt::Key_Delete, Qt::Key_A}));
        m_canvas->selectedIndex = 0;
        QTest::keyClick(m_canvas.get(), Qt::Key_Delete);
        QTest::keyClick(m_canvas.get(), Qt::Key_Backspace);
        QCOMPARE(passed.size(), 2);
        QCOMPARE(m_calls, (QStringList{u"delete"_s, u"delete"_s}));
        m_canvas->setParent(nullptr);
    }

    // What is seen, pixel by pixel, is what an export has, and a drag leaves nothing behind.
    void showsTheExport()
    {
        m_canvas->doc = sampleDocument(qRound(m_canvas->devicePixelRatioF()));
        m_canvas->resize(640, 400);
        show(m_canvas->doc.items);
        const auto exported = [this] {
            return AnnotationRenderer::render(m_canvas->doc).pixels.convertToFormat(QImage::Format_RGB32);
        };
        const auto shown = [this] {
            QImage picture = m_canvas->grab().toImage().convertToFormat(QImage::Format_RGB32);
            picture.setDevicePixelRatio(1);
            return picture;
        };
        QCOMPARE(shown(), exported());
        CanvasEvents events(*m_canvas);
        for (int i = 0; i < m_canvas->doc.items.size(); ++i) {
            const QPointF on = m_canvas->doc.items[i].rect.center();
            events.drag(on, on + QPointF(17.3, -9.7));
            m_canvas->selectedIndex.reset();
            m_canvas->redisplay();
            QCOMPARE(shown(), exported());
        }
    }

    // Only what changed is painted anew.
    void repaintsLittle()
    {
        struct Painted : QObject {
            QRegion region;
            bool eventFilter(QObject *, QEvent *event) override
            {
                if (event->type() == QEvent::Paint)
                    region |= static_cast<QPaintEvent *>(event)->region();
                return false;
            }
        } painted;
        show({item(Kind::rect, {100, 100, 40, 40})}, Tool::arrow);
        CanvasEvents events(*m_canvas);
        events.press({200, 200});
        QCoreApplication::processEvents();
        m_canvas->installEventFilter(&painted);
        events.moveTo({220, 210});
        QCoreApplication::processEvents();
        const QRect bounds = painted.region.boundingRect();
        QVERIFY2(!bounds.isEmpty() && QRect(170, 60, 80, 80).contains(bounds), qPrintable(QDebug::toString(bounds)));
    }
};

QTEST_MAIN(tst_AnnotationCanvasView)
#include "tst_AnnotationCanvasView.moc"
