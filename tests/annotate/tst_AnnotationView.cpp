#include "annotate/editor/AnnotationCanvasView.h"
#include "annotate/editor/AnnotationView.h"
#include "annotate/editor/AnnotationWindowController.h"
#include "annotate/editor/ColorWell.h"
#include "annotate/editor/EditorBars.h"
#include "annotate/render/AnnotationRenderer.h"
#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"
#include "tests/annotate/CanvasEvents.h"
#include "tests/annotate/SampleDocument.h"
#include "tests/support/TempHome.h"
#include "ui/WindowPlacement.h"

#include <QClipboard>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QRandomGenerator>
#include <QSlider>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
using Kind = Annotation::Kind;
using Tool = AnnotationTool;
using Selection = std::optional<int>;

class tst_AnnotationView : public QObject
{
    Q_OBJECT

    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<AnnotationView> m_view;
    int m_closed = 0;

    const EditorState &state() const { return m_view->state(); }
    AnnotationCanvasView &canvas() const { return *m_view->canvas(); }

    // A button by its help text.
    template<class Button = QToolButton>
    Button *button(const QString &help) const
    {
        for (Button *found : m_view->findChildren<Button *>()) {
            if (found->toolTip() == help || found->accessibleName() == help)
                return found;
        }
        qFatal("no button %s", qPrintable(help));
    }
    void click(const QString &help) const { QTest::mouseClick(button(help), Qt::LeftButton); }
    void clickBelow(const QString &text) const { QTest::mouseClick(button<QPushButton>(text), Qt::LeftButton); }

    // View point of an image point.
    QPointF at(double x, double y) const { return canvas().mapping().toView({x, y}); }
    void draw(QPointF from, QPointF to) const
    {
        CanvasEvents(canvas()).drag(at(from.x(), from.y()), at(to.x(), to.y()));
        QCoreApplication::processEvents();
    }
    QStringList saved() const
    {
        return QDir(m_home->file(u"shots"_s)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TempHome>();
        m_home->write(u".quillmere/config.json"_s, "{\"captures\": \"" + m_home->file(u"shots"_s).toUtf8() + "\"}");
        m_closed = 0;
        m_view = std::make_unique<AnnotationView>(AnnotationDoc{sampleScreenshot({400, 300}, 1), {}, {}},
                                                  u"/somewhere/a.b.png"_s, [this] { ++m_closed; });
        m_view->resize(700, 480);
        m_view->show();
        m_view->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
    }
    void cleanup()
    {
        m_view.reset();
        m_home.reset();
    }

    void tools_data()
    {
        QTest::addColumn<int>("tool");
        QTest::addColumn<QString>("help");
        QTest::addColumn<int>("key");
        const auto row = [](Tool tool, const char *help, Qt::Key key) {
            QTest::newRow(help) << int(tool) << QString::fromLatin1(help) << int(key);
        };
        row(Tool::select, "Select / Move  (V)", Qt::Key_V);
        row(Tool::crop, "Crop  (C)", Qt::Key_C);
        row(Tool::text, "Text  (T)", Qt::Key_T);
        row(Tool::line, "Line  (\\)", Qt::Key_Backslash);
        row(Tool::arrow, "Arrow  (A)", Qt::Key_A);
        row(Tool::rect, "Rectangle  (M)", Qt::Key_M);
        row(Tool::ellipse, "Ellipse  (L)", Qt::Key_L);
        row(Tool::blur, "Blur  (B)", Qt::Key_B);
    }
    void tools()
    {
        QFETCH(int, tool);
        QFETCH(QString, help);
        QFETCH(int, key);
        QCOMPARE(state().tool, Tool::arrow);
        click(Tool(tool) == Tool::arrow ? u"Blur  (B)"_s : help);
        QVERIFY(Tool(tool) == Tool::arrow || state().tool == Tool(tool));
        click(u"Select / Move  (V)"_s);
        QTest::keyClick(&canvas(), Qt::Key(key), Qt::ControlModifier);
        QCOMPARE(state().tool, Tool::select);
        QTest::keyClick(&canvas(), Qt::Key(key));
        QCOMPARE(state().tool, Tool(tool));
        QCoreApplication::processEvents();
        QCOMPARE(canvas().tool, Tool(tool));
        QCOMPARE(button(u"Blur a rectangle"_s)->isVisible(), Tool(tool) == Tool::blur);
    }

    // The rows above leave out that only one button is tinted, and that it is the right one.
    void oneToolIsTinted()
    {
        for (const QString &help : {u"Crop  (C)"_s, u"Arrow  (A)"_s}) {
            click(help);
            QCoreApplication::processEvents();
            int tinted = 0;
            for (const QToolButton *tool : m_view->findChildren<QToolButton *>())
                tinted += tool->toolTip().contains(u"  ("_s) && tool->isChecked();
            QCOMPARE(tinted, 1);
            QVERIFY(button(help)->isChecked());
        }
    }

    void drawUndoRedo()
    {
        draw({100, 100}, {200, 150});
        QCOMPARE(state().doc.items.size(), 1);
        QCOMPARE(state().doc.items[0].kind, Kind::arrow);
        QCOMPARE(state().doc.items[0].lineWidth, 7.0);
        QCOMPARE(state().doc.items[0].color, QColor(255, 59, 48));
        QVERIFY(button(u"Undo"_s)->isEnabled() && !button(u"Redo"_s)->isEnabled());
        click(u"Undo"_s);
        QCoreApplication::processEvents();
        QVERIFY(state().doc.items.isEmpty() && canvas().doc.items.isEmpty());
        QVERIFY(!button(u"Undo"_s)->isEnabled() && button(u"Redo"_s)->isEnabled());
        QTest::keyClick(&canvas(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(state().doc.items.size(), 1);
        QTest::keyClick(&canvas(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(state().doc.items.size(), 0);
        draw({100, 100}, {200, 150});
        QVERIFY(!button(u"Redo"_s)->isEnabled());
    }

    // A whole drag with no turn of the event loop between its events: each acts on what the one before left.
    void eventsOfOneTurn()
    {
        CanvasEvents events(canvas());
        events.drag(at(100, 100), at(200, 150));
        click(u"Rectangle  (M)"_s);
        events.drag(at(20, 20), at(60, 60));
        click(u"Select / Move  (V)"_s);
        events.drag(at(40, 40), at(50, 45));
        QCOMPARE(state().doc.items.size(), 2);
        QVERIFY(QLineF(state().doc.items[1].rect.topLeft(), QPointF(30, 25)).length() < 1e-6);
        QCOMPARE(state().selectedIndex, Selection(1)); // reported after the snapshot, and not put back by a refresh
        QCOMPARE(state().undoStack.size(), 3);
    }

    void crops()
    {
        click(u"Crop  (C)"_s);
        draw({100, 100}, {300, 250});
        QCOMPARE(state().doc.crop, std::optional(QRectF(100, 100, 200, 150)));
        QCOMPARE(canvas().mapping().region, QRectF(100, 100, 200, 150));
        draw({120, 120}, {200, 180}); // replaces the first, in the same coordinates
        const QRectF crop = state().doc.crop.value();
        QVERIFY(QLineF(crop.topLeft(), QPointF(120, 120)).length() < 1e-6 && qAbs(crop.width() - 80) < 1e-6);
        QCOMPARE(state().undoStack.size(), 2);
    }

    void colourAndWidth()
    {
        draw({100, 100}, {200, 100});
        auto *slider = m_view->findChild<QSlider *>();
        QCOMPARE(slider->value(), 700);
        slider->setValue(250);
        QCOMPARE(state().doc.items[0].lineWidth, 7.0); // nothing is selected
        click(u"Select / Move  (V)"_s);
        CanvasEvents(canvas()).click(at(150, 100));
        const qsizetype entries = state().undoStack.size();
        slider->setValue(1200);
        m_view->findChild<ColorWell *>()->onChange(QColor(Qt::blue));
        QCoreApplication::processEvents();
        QCOMPARE(canvas().doc.items[0].lineWidth, 12.0);
        QCOMPARE(canvas().doc.items[0].color, QColor(Qt::blue));
        QCOMPARE(state().undoStack.size(), entries);
    }

    void zooms()
    {
        for (int i = 0; i < 3; ++i)
            click(u"Zoom in"_s);
        QCoreApplication::processEvents();
        QCOMPARE(button(u"Reset zoom"_s)->text(), u"195%"_s);
        QCOMPARE(canvas().zoom(), 1.953125);
        CanvasEvents wheel(canvas());
        wheel.modifiers = Qt::ControlModifier;
        wheel.wheel({10, 10}, {0, -1000}, {});
        QCoreApplication::processEvents();
        QCOMPARE(button(u"Reset zoom"_s)->text(), u"20%"_s);
        const QPointF pan = canvas().panOffset();
        click(u"Blur  (B)"_s); // any refresh: the zoom that came from the canvas does not go back to it
        QCoreApplication::processEvents();
        QCOMPARE(canvas().panOffset(), pan);
        click(u"Reset zoom"_s);
        QCoreApplication::processEvents();
        QCOMPARE(canvas().zoom(), 1.0);
    }

    void deletes()
    {
        draw({100, 100}, {200, 100});
        QVERIFY(!button(u"Delete selected"_s)->isEnabled());
        click(u"Select / Move  (V)"_s);
        CanvasEvents(canvas()).click(at(150, 100));
        QCoreApplication::processEvents();
        QVERIFY(button(u"Delete selected"_s)->isEnabled());
        QTest::keyClick(&canvas(), Qt::Key_Backspace);
        QCoreApplication::processEvents();
        QVERIFY(state().doc.items.isEmpty() && !state().selectedIndex && !canvas().selectedIndex);
        click(u"Undo"_s);
        QCOMPARE(state().doc.items.size(), 1);
    }

    void nudges()
    {
        draw({100, 100}, {200, 100});
        click(u"Select / Move  (V)"_s);
        CanvasEvents(canvas()).click(at(150, 100));
        const qsizetype entries = state().undoStack.size();
        const QPointF start = state().doc.items[0].rect.topLeft();
        const auto press = [this](Qt::Key key, Qt::KeyboardModifiers modifiers, quint64 milliseconds) {
            QKeyEvent event(QEvent::KeyPress, key, modifiers);
            event.setTimestamp(milliseconds);
            QApplication::sendEvent(&canvas(), &event);
        };
        press(Qt::Key_Left, {}, 10'000);
        press(Qt::Key_Up, Qt::ShiftModifier, 10'900);
        press(Qt::Key_Up, {}, 11'800);
        QCOMPARE(state().doc.items[0].rect.topLeft(), start + QPointF(-1, 11));
        QCOMPARE(state().undoStack.size(), entries + 1);
        press(Qt::Key_Down, {}, 13'000); // a pause: the next burst
        QCOMPARE(state().undoStack.size(), entries + 2);
        click(u"Undo"_s);
        click(u"Undo"_s);
        QCOMPARE(state().doc.items[0].rect.topLeft(), start);
        press(Qt::Key_Right, {}, 13'100);
        QVERIFY(!state().canRedo());
        press(Qt::Key_Right, Qt::ControlModifier, 13'200);
        QCOMPARE(state().doc.items[0].rect.topLeft(), start + QPointF(1, 0));
    }

    void escape()
    {
        draw({100, 100}, {200, 100});
        click(u"Select / Move  (V)"_s);
        CanvasEvents events(canvas());
        events.press(at(150, 100));
        events.moveTo(at(170, 130));
        QTest::keyClick(&canvas(), Qt::Key_Escape);
        QCOMPARE(state().doc.items[0].rect.y(), 100.0); // back where it was, still selected
        QCOMPARE(state().selectedIndex, Selection(0));
        events.release(at(170, 130));
        click(u"Text  (T)"_s);
        events.click(at(30, 30));
        QTest::keyClick(canvas().textField(), Qt::Key_Escape);
        QVERIFY(!canvas().textField());
        QCOMPARE(state().selectedIndex, Selection(0));
        QTest::keyClick(&canvas(), Qt::Key_Escape);
        QVERIFY(!state().selectedIndex);
    }

    void anOpenFieldOwnsItsKeys()
    {
        draw({100, 100}, {200, 100});
        click(u"Select / Move  (V)"_s);
        CanvasEvents(canvas()).click(at(150, 100));
        click(u"Text  (T)"_s);
        CanvasEvents(canvas()).click(at(30, 30));
        QLineEdit *field = canvas().textField();
        const auto items = state().doc.items;
        const qsizetype entries = state().undoStack.size();
        QTest::keyClicks(field, u"vcam lb\\"_s);
        QTest::keyClick(field, Qt::Key_Left);
        QTest::keyClick(field, Qt::Key_Up);
        QTest::keyClick(field, Qt::Key_Delete);
        QTest::keyClick(field, Qt::Key_Z, Qt::ControlModifier);
        QTest::keyClick(field, Qt::Key_End);
        QCOMPARE(field->text(), u"vcam lb\\"_s);
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(state().tool, Tool::text);
        QCOMPARE(state().doc.items.first(2 - 1), items);
        QCOMPARE(state().doc.items.last().text, std::optional(u"vcam lb\\"_s));
        QCOMPARE(state().undoStack.size(), entries + 1);
        QCOMPARE(state().statusText, QString()); // its Return did not copy
    }

    void savesUnderFreeNames()
    {
        draw({100, 100}, {200, 150});
        clickBelow(u"Save"_s);
        QCOMPARE(state().statusText, u"Saved: a.b-annotated.png"_s);
        clickBelow(u"Save"_s);
        clickBelow(u"Save"_s);
        const QStringList three{u"a.b-annotated-2.png"_s, u"a.b-annotated-3.png"_s, u"a.b-annotated.png"_s};
        QCOMPARE(saved(), three);
        m_home->write(u"shots/a.b-annotated-3.png"_s, "mine");
        QFile::remove(m_home->file(u"shots/a.b-annotated-2.png"_s));
        clickBelow(u"Save"_s);
        QCOMPARE(state().statusText, u"Saved: a.b-annotated-2.png"_s);
        QCOMPARE(m_home->read(u"shots/a.b-annotated-3.png"_s), "mine");
        QCOMPARE(saved(), three);

        const Image written = ImageFile::load(m_home->file(u"shots/a.b-annotated-2.png"_s)).image;
        QCOMPARE(written.pixels.convertToFormat(QImage::Format_RGB32),
                 AnnotationRenderer::render(state().doc).pixels.convertToFormat(QImage::Format_RGB32));
        QVERIFY(m_view->isVisible());
    }

    void saysThatItCannotSave()
    {
        m_home->write(u"shots"_s, "a file where the folder should be");
        clickBelow(u"Save"_s);
        QCOMPARE(state().statusText, u"Failed to save"_s);
    }

    void copies()
    {
        click(u"Text  (T)"_s);
        CanvasEvents(canvas()).click(at(30, 30));
        QTest::keyClicks(canvas().textField(), u"typed"_s);
        clickBelow(u"Annotate & Copy"_s); // takes along what is still being typed
        QCOMPARE(state().statusText, u"Copied"_s);
        QCOMPARE(state().doc.items.size(), 1);
        const QImage expected = AnnotationRenderer::render(state().doc).pixels.convertToFormat(QImage::Format_RGB32);
        QCOMPARE(QGuiApplication::clipboard()->image().convertToFormat(QImage::Format_RGB32), expected);
        QGuiApplication::clipboard()->clear();
        QTest::keyClick(&canvas(), Qt::Key_Return);
        QCOMPARE(QGuiApplication::clipboard()->image().convertToFormat(QImage::Format_RGB32), expected);
        QCOMPARE(m_closed, 0);
        clickBelow(u"Close"_s);
        QCOMPARE(m_closed, 1);
    }

    // Everything that fits the smallest window is inside it, the choice of blur shapes included.
    void fitsTheSmallestWindow()
    {
        click(u"Blur  (B)"_s);
        m_view->setMinimumSize(560, 420);
        m_view->resize(560, 420);
        QCoreApplication::processEvents();
        QCOMPARE(m_view->width(), 560);
        const QWidget *last = button(u"Redo"_s);
        QVERIFY(last->mapTo(m_view.get(), QPoint(last->width(), 0)).x() <= 560);
    }

    void windows()
    {
        QVERIFY(PngWriter::write(m_home->file(u"one[*].png"_s), sampleScreenshot({300, 200}, 1)));
        AnnotationWindowController controller;
        controller.open(m_home->file(u"missing.png"_s));
        m_home->write(u"words.png"_s, "no picture");
        controller.open(m_home->file(u"words.png"_s));
        QVERIFY(!controller.window());

        controller.open(m_home->file(u"one[*].png"_s));
        const QPointer<QWidget> first = controller.window();
        QVERIFY(first->isVisible());
        QCOMPARE(first->windowTitle(), u"Annotate — one[*][*].png"_s);
        const QSize room = WindowPlacement::activeScreenVisibleFrame().size();
        QCOMPARE(first->size(),
                 QSize(qMin(room.width() - 120, 940), qMin(room.height() - 160, 660)).expandedTo({560, 420}));
        QCOMPARE(first->minimumSize(), QSize(560, 420));
        QCOMPARE(first->maximumSize(), QSize(room.width(), room.height() - 40));

        controller.open(m_home->file(u"one[*].png"_s));
        const QPointer<QWidget> second = controller.window();
        QVERIFY(second != first && first->isVisible());
        auto *firstView = static_cast<AnnotationView *>(first.data());
        CanvasEvents(*firstView->canvas()).drag({100, 100}, {200, 200});
        QCOMPARE(firstView->state().undoStack.size(), 1);
        QCOMPARE(static_cast<AnnotationView *>(second.data())->state().undoStack.size(), 0);

        const auto close = [](QWidget *window) {
            for (QPushButton *found : window->findChildren<QPushButton *>()) {
                if (found->text() == u"Close"_s)
                    QTest::mouseClick(found, Qt::LeftButton);
            }
        };
        close(first); // closes the one opened last
        QVERIFY(first->isVisible() && second && !second->isVisible());
        close(first);
        QVERIFY(first->isVisible());
        controller.open(m_home->file(u"one[*].png"_s));
        QVERIFY(!second && first); // kept until another takes its place
        first->close();
        QTRY_VERIFY(!first); // on its own, it goes when it is closed
    }

    void randomSession_data()
    {
        QTest::addColumn<int>("seed");
        for (int seed = 1; seed <= 4; ++seed)
            QTest::addRow("seed %d", seed) << seed;
    }
    void randomSession()
    {
        QFETCH(int, seed);
        QRandomGenerator random{quint32(seed)};
        m_view = std::make_unique<AnnotationView>(sampleDocument(1), u"/a.png"_s, [] {});
        m_view->resize(700, 480);
        m_view->show();
        m_view->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
        const AnnotationDoc start = state().doc;
        CanvasEvents events(canvas());
        const auto anywhere = [&] {
            return QPointF(random.bounded(canvas().width() + 40.0) - 20, random.bounded(canvas().height() + 40.0) - 20);
        };
        const Qt::Key keys[] = {Qt::Key_V,      Qt::Key_C,      Qt::Key_T,     Qt::Key_Backslash, Qt::Key_A,
                                Qt::Key_M,      Qt::Key_L,      Qt::Key_B,     Qt::Key_V,         Qt::Key_V,
                                Qt::Key_Delete, Qt::Key_Escape, Qt::Key_Left,  Qt::Key_Up,        Qt::Key_Right,
                                Qt::Key_Space,  Qt::Key_Return, Qt::Key_Enter, Qt::Key_Backspace, Qt::Key_Down};
        QPointF last = anywhere();
        // Not the slider and the colour well: what they do has no undo entry.
        for (int i = 0; i < 3000; ++i) {
            QWidget *focus = canvas().textField() ? static_cast<QWidget *>(canvas().textField()) : &canvas();
            events.modifiers = random.bounded(8) == 0 ? Qt::ShiftModifier : Qt::NoModifier;
            switch (random.bounded(14)) {
            case 0: events.press(last = anywhere()); break;
            case 1:
            case 2:
            case 3: events.moveTo(last += QPointF(random.bounded(60.0) - 30, random.bounded(60.0) - 30)); break;
            case 4:
            case 5: events.release(last); break;
            case 6: events.doubleClick(last = anywhere()); break;
            case 7:
            case 8: QTest::keyClick(focus, keys[random.bounded(int(std::size(keys)))]); break;
            case 9: QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier); break;
            case 10: QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier); break;
            case 11:
                if (random.bounded(2))
                    events.modifiers = Qt::ControlModifier;
                events.wheel(anywhere(), {}, {random.bounded(240) - 120, random.bounded(480) - 240});
                break;
            case 12: {
                // Presses on something that is there, or nothing but drawing would happen.
                const auto &items = state().doc.items;
                if (!items.isEmpty()) {
                    const Annotation &item = items[random.bounded(int(items.size()))];
                    last = canvas().mapping().toView(random.bounded(2) ? item.rect.center() : item.end());
                    QTest::keyClick(focus, Qt::Key_V);
                    events.press(last);
                }
                break;
            }
            case 13: QCoreApplication::processEvents(); break;
            }
            QVERIFY(!state().selectedIndex || *state().selectedIndex >= 0);
        }
        canvas().cancelText();
        events.release(last);
        QVERIFY(state().canUndo());
        while (state().canUndo())
            QTest::keyClick(&canvas(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(state().doc.items, start.items);
        QVERIFY(!state().doc.crop);
        QCoreApplication::processEvents();
        QCOMPARE(canvas().doc.items, start.items);
    }
};

QTEST_MAIN(tst_AnnotationView)
#include "tst_AnnotationView.moc"
