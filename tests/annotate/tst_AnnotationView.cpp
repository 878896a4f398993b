#include "annotate/editor/AnnotationWindowController.h"
#include "annotate/editor/ColorWell.h"
#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"
#include "tests/annotate/EditorWindow.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TempHome.h"
#include "ui/WindowPlacement.h"

#include <QClipboard>
#include <QColorDialog>
#include <QDir>
#include <QPushButton>
#include <QSlider>

using namespace qm;
using namespace Qt::StringLiterals;
using Kind = Annotation::Kind;
using Tool = AnnotationTool;
using Selection = std::optional<int>;

static QImage rgb(const QImage &image)
{
    return image.convertToFormat(QImage::Format_RGB32);
}

// The bars around the canvas, its keys, and what an editor writes.
class tst_AnnotationView : public QObject
{
    Q_OBJECT

    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<EditorWindow> m_editor;

    const EditorState &state() const { return m_editor->state(); }
    AnnotationCanvasView &canvas() const { return m_editor->canvas; }
    CanvasEvents &events() const { return m_editor->events; }
    void click(const QString &help) const { m_editor->click(help); }
    void clickBelow(const QString &text) const { m_editor->click<QPushButton>(text); }
    bool isEnabled(const QString &help) const { return m_editor->button(help)->isEnabled(); }
    QString zoomShown() const { return m_editor->button(u"Reset zoom"_s)->text(); }
    void selectTheLine() const
    {
        m_editor->choose(Tool::select);
        events().click({150, 100});
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
        const Annotation line{Kind::line, {100, 100, 100, 0}, Qt::blue, 7, {}, {}, 0};
        m_editor = std::make_unique<EditorWindow>(AnnotationDoc{sampleScreenshot({640, 400}, 1), {}, {line}});
    }
    void cleanup()
    {
        m_editor.reset();
        m_home.reset();
    }

    void eachToolHasAKeyAndAButton()
    {
        for (const bool byKey : {true, false}) {
            for (const Tool tool : allAnnotationTools) {
                const QString key = u"  (%1)"_s.arg(QKeySequence(EditorToolBar::key(tool)).toString());
                for (QToolButton *button : m_editor->view.findChildren<QToolButton *>()) {
                    if (!byKey && button->toolTip().endsWith(key))
                        QTest::mouseClick(button, Qt::LeftButton);
                }
                if (byKey)
                    m_editor->choose(tool);
                QCOMPARE(state().tool, tool);
                QTest::keyClick(&canvas(), EditorToolBar::key(Tool::text), Qt::ControlModifier); // another's key
                QCoreApplication::processEvents();
                QCOMPARE(canvas().tool, tool);
                QStringList tinted;
                for (const QToolButton *button : m_editor->view.findChildren<QToolButton *>()) {
                    if (button->isChecked() && button->toolTip().contains(u"  ("_s))
                        tinted << button->toolTip().mid(button->toolTip().indexOf(u"  ("_s));
                }
                QCOMPARE(tinted, QStringList(key));
                QCOMPARE(m_editor->button(u"Blur a rectangle"_s)->isVisible(), tool == Tool::blur);
            }
        }
    }

    // With no turn of the event loop between them: each event acts on what the one before left.
    void eventsOfOneTurn()
    {
        m_editor->choose(Tool::rect);
        events().drag({20, 20}, {60, 60});
        m_editor->choose(Tool::select);
        events().drag({40, 40}, {50, 45});
        QCOMPARE(state().doc.items.last().rect, QRectF(30, 25, 40, 40));
        QCOMPARE(state().selectedIndex, Selection(1)); // reported after the snapshot, and not put back by a refresh
        QCOMPARE(state().undoStack.size(), 2);
    }

    void undoAndRedo()
    {
        QVERIFY(!isEnabled(u"Undo"_s) && !isEnabled(u"Redo"_s));
        m_editor->choose(Tool::crop);
        events().drag({100, 100}, {300, 250});
        QCoreApplication::processEvents();
        QCOMPARE(canvas().mapping().region, QRectF(100, 100, 200, 150));
        QVERIFY(isEnabled(u"Undo"_s) && !isEnabled(u"Redo"_s));
        click(u"Undo"_s);
        QVERIFY(!state().doc.crop && !canvas().doc.crop);
        QVERIFY(!isEnabled(u"Undo"_s) && isEnabled(u"Redo"_s));
        QTest::keyClick(&canvas(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(state().doc.crop);
        click(u"Undo"_s);
        click(u"Redo"_s);
        QVERIFY(state().doc.crop);
    }

    void colourAndWidth()
    {
        auto *slider = m_editor->view.findChild<QSlider *>();
        slider->setValue(250);
        QCOMPARE(state().doc.items[0].lineWidth, 7.0); // nothing is selected
        selectTheLine();
        const qsizetype entries = state().undoStack.size();
        slider->setValue(1200);
        auto *well = m_editor->view.findChild<ColorWell *>();
        QTest::mouseClick(well, Qt::LeftButton);
        const QPointer<QColorDialog> dialog = well->findChild<QColorDialog *>();
        dialog->setCurrentColor(Qt::green);
        QCoreApplication::processEvents();
        QCOMPARE(canvas().doc.items[0].lineWidth, 12.0);
        QCOMPARE(canvas().doc.items[0].color, QColor(Qt::green));
        QCOMPARE(state().undoStack.size(), entries);
        m_editor->view.close();
        QTRY_VERIFY(!dialog); // goes with its window
    }

    void zoomButtons()
    {
        for (int i = 0; i < 3; ++i)
            click(u"Zoom in"_s);
        click(u"Zoom out"_s);
        QCOMPARE(zoomShown(), u"156%"_s);
        QCOMPARE(canvas().zoom(), 1.5625);
        events().modifiers = Qt::ControlModifier;
        events().wheel({10, 10}, {0, -70}, {});
        QCoreApplication::processEvents();
        QCOMPARE(zoomShown(), u"47%"_s);
        const QPointF pan = canvas().panOffset();
        m_editor->choose(Tool::blur); // any refresh: the zoom that came from the canvas does not go back to it
        QCoreApplication::processEvents();
        QCOMPARE(canvas().panOffset(), pan);
        click(u"Reset zoom"_s);
        QCOMPARE(canvas().zoom(), 1.0);
    }

    void selectNudgeDelete()
    {
        QVERIFY(!isEnabled(u"Delete selected"_s));
        selectTheLine();
        QCoreApplication::processEvents();
        QVERIFY(isEnabled(u"Delete selected"_s));
        const qsizetype entries = state().undoStack.size();
        QTest::keyClick(&canvas(), Qt::Key_Left);
        QTest::keyClick(&canvas(), Qt::Key_Up, Qt::ShiftModifier);
        QTest::keyClick(&canvas(), Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(state().doc.items[0].rect.topLeft(), QPointF(99, 110));
        QTest::keyClick(&canvas(), Qt::Key_Escape);
        QVERIFY(!state().selectedIndex);
        events().click({150, 110});
        QTest::keyClick(&canvas(), Qt::Key_Backspace);
        QCoreApplication::processEvents();
        QVERIFY(state().doc.items.isEmpty() && !state().selectedIndex && !canvas().selectedIndex);
        QVERIFY(state().undoStack.size() > entries + 1);
    }

    void savesUnderFreeNames()
    {
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
        QCOMPARE(rgb(written.pixels), rgb(AnnotationRenderer::render(state().doc).pixels));
        QVERIFY(m_editor->view.isVisible());
    }

    void saysThatItCannotSave()
    {
        clickBelow(u"Save"_s);
        {
            const FullDisk full;
            clickBelow(u"Save"_s);
        }
        QCOMPARE(state().statusText, u"Failed to save"_s);
        QCOMPARE(saved(), QStringList{u"a.b-annotated.png"_s});
    }

    void copies()
    {
        m_editor->choose(Tool::text);
        events().click({30, 30});
        QTest::keyClicks(canvas().textField(), u"typed"_s);
        clickBelow(u"Annotate & Copy"_s); // takes along what is still being typed
        QCOMPARE(state().statusText, u"Copied"_s);
        QCOMPARE(state().doc.items.size(), 2);
        const QImage expected = rgb(AnnotationRenderer::render(state().doc).pixels);
        QCOMPARE(rgb(QGuiApplication::clipboard()->image()), expected);
        QGuiApplication::clipboard()->clear();
        QTest::keyClick(&canvas(), Qt::Key_Return);
        QCOMPARE(rgb(QGuiApplication::clipboard()->image()), expected);
        QCOMPARE(m_editor->closed, 0);
        clickBelow(u"Close"_s);
        QCOMPARE(m_editor->closed, 1);
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
        controller.open(m_home->file(u"one[*].png"_s));
        QVERIFY(!second && first); // kept until another takes its place
        first->close();
        QTRY_VERIFY(!first); // on its own, it goes when it is closed
    }
};

QTEST_MAIN(tst_AnnotationView)
#include "tst_AnnotationView.moc"
