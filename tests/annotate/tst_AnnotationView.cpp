#include "annotate/editor/AnnotationWindowController.h"
#include "annotate/editor/ColorWell.h"
#include "annotate/editor/DraftsWindow.h"
#include "annotate/editor/SwatchPanel.h"
#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"
#include "tests/annotate/EditorWindow.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TempHome.h"
#include "ui/WindowPlacement.h"

#include <QClipboard>
#include <QColorDialog>
#include <QDateTime>
#include <QDir>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSlider>
#include <QToolButton>

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
    bool isEnabled(const QString &help) const { return m_editor->button(help)->isEnabled(); }
    void selectTheLine() const
    {
        m_editor->choose(Tool::select);
        events().click({150, 100});
    }
    static void answer(const AnnotationView &view, const QString &button)
    {
        const QPointer box = view.findChild<QMessageBox *>();
        for (auto *found : box->findChildren<QPushButton *>()) {
            if (found->text() == button)
                found->click();
        }
        QTRY_VERIFY(!box); // with the window, if that has closed
    }
    QStringList saved() const { return QDir(m_home->file(u"shots"_s)).entryList(QDir::Files | QDir::Hidden); }

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

    // Which tints its button, and no other; with Ctrl it is another's.
    void eachToolHasAKey()
    {
        for (const Tool tool : allAnnotationTools) {
            m_editor->choose(tool);
            m_editor->key(Qt::CTRL | EditorToolBar::key(Tool::text));
            QCoreApplication::processEvents();
            QCOMPARE(canvas().tool, tool);
            const QString key = u"  (%1)"_s.arg(QKeySequence(EditorToolBar::key(tool)).toString());
            for (const QAbstractButton *button : m_editor->view.findChildren<QAbstractButton *>()) {
                if (button->toolTip().contains(u"  ("_s))
                    QCOMPARE(button->isChecked(), button->toolTip().endsWith(key));
            }
            QCOMPARE(m_editor->button(u"Blur a rectangle"_s)->isVisible(), tool == Tool::blur);
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

    // In the smallest window, what does not fit is in a menu; nothing is cut off.
    void narrowWindow()
    {
        for (const auto &[width, folded] : {std::pair(1200, false), {560, true}}) {
            m_editor->view.resize(width, 420);
            for (const Tool tool : {Tool::arrow, Tool::blur, Tool::text}) {
                m_editor->choose(tool);
                QCoreApplication::processEvents();
                QCOMPARE(m_editor->button(u"More tools"_s)->isVisible(), folded);
                QCOMPARE(m_editor->button(u"Cover  (X)"_s)->isVisible(), !folded);
                QRegion taken;
                for (const QWidget *one : m_editor->view.findChildren<QWidget *>()) {
                    const QRect place({one->mapTo(&m_editor->view, QPoint()), one->size()});
                    if (!one->isVisible() || !(qobject_cast<const QToolButton *>(one) || one->inherits("QSlider")))
                        continue;
                    QVERIFY2(place.right() < width && place.width() >= 24 && !taken.intersects(place),
                             qPrintable(one->toolTip()));
                    taken |= place;
                }
            }
        }
        m_editor->view.findChild<QMenu *>()->actions().value(1)->trigger();
        QCOMPARE(state().tool, Tool::number);
    }

    void undoAndRedo()
    {
        const auto enabled = [&] { return QList{isEnabled(u"Undo"_s), isEnabled(u"Redo"_s)}; };
        click(u"Crop  (C)"_s);
        events().drag({100, 100}, {300, 250});
        QCoreApplication::processEvents();
        QCOMPARE(canvas().mapping().region, QRectF(100, 100, 200, 150));
        QCOMPARE(enabled(), (QList{true, false}));
        click(u"Undo"_s);
        QVERIFY(!canvas().doc.crop);
        QCOMPARE(enabled(), (QList{false, true}));
        click(u"Redo"_s);
        QVERIFY(canvas().doc.crop);
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
        const auto swatches = [&] {
            QTest::mouseClick(well, Qt::LeftButton);
            return well->findChild<SwatchPanel *>()->findChildren<QAbstractButton *>();
        };
        swatches()[4]->click();
        QCOMPARE(state().doc.items[0].color, QColor(0, 122, 255));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(swatches()[0]->toolTip(), u"#007aff"_s); // the last used first
        m_editor->view.setGeometry(0, 0, 200, 300);
        well->findChild<SwatchPanel *>()->findChildren<QPushButton *>()[0]->click();
        const QPointer<QColorDialog> dialog = well->findChild<QColorDialog *>();
        QVERIFY(!dialog->geometry().intersects(m_editor->view.geometry()));
        dialog->setCurrentColor(Qt::green);
        QCoreApplication::processEvents();
        QCOMPARE(canvas().doc.items[0].lineWidth, 12.0);
        QCOMPARE(canvas().doc.items[0].color, QColor(Qt::green));
        QCOMPARE(state().undoStack.size(), entries);
        m_editor->choose(Tool::rect);
        QCoreApplication::processEvents();
        QCOMPARE(slider->value(), 1200);
        m_editor->view.endSession();
        m_editor->view.close();
        QTRY_VERIFY(!dialog); // goes with its window
    }

    void zoomButtons()
    {
        for (const auto &help : {u"Zoom in"_s, u"Zoom in"_s, u"Zoom in"_s, u"Zoom out"_s})
            click(help);
        QCOMPARE(canvas().zoom(), 1.5625);
        events().modifiers = Qt::ControlModifier;
        events().wheel({10, 10}, {0, -70}, {});
        QCoreApplication::processEvents();
        QCOMPARE(m_editor->button(u"Reset zoom"_s)->text(), u"47%"_s);
        const QPointF pan = canvas().panOffset();
        m_editor->choose(Tool::blur); // any refresh: the zoom that came from the canvas does not go back to it
        QCoreApplication::processEvents();
        QCOMPARE(canvas().panOffset(), pan);
        click(u"Reset zoom"_s);
        QCOMPARE(canvas().zoom(), 1.0);
        events().modifiers = {};
        events().wheel({10, 10}, {0, -70}, {});
        click(u"Reset zoom"_s); // back to the middle, though it is 100 % already
        QCOMPARE(canvas().panOffset(), QPointF());
    }

    void selectNudgeDelete()
    {
        QVERIFY(!isEnabled(u"Delete selected"_s));
        selectTheLine();
        QCoreApplication::processEvents();
        QVERIFY(isEnabled(u"Delete selected"_s));
        const QKeyCombination keys[] = {Qt::Key_Left, Qt::SHIFT | Qt::Key_Up, Qt::CTRL | Qt::Key_Right, Qt::Key_Escape};
        for (const QKeyCombination key : keys)
            m_editor->key(key);
        QCOMPARE(state().doc.items[0].rect.topLeft(), QPointF(99, 110));
        QVERIFY(!state().selectedIndex);
        events().click({150, 110});
        m_editor->key(Qt::Key_Backspace);
        QCoreApplication::processEvents();
        QVERIFY(canvas().doc.items.isEmpty() && !canvas().selectedIndex);
    }

    void savesUnderFreeNames()
    {
        m_home->write(u"shots/a.b-annotated-2.png"_s, "mine");
        for (const auto &name : {u"a.b-annotated.png"_s, u"a.b-annotated-3.png"_s}) {
            click(u"Save"_s);
            QCOMPARE(state().statusText, u"Saved: "_s + name);
            const Image written = ImageFile::load(m_home->file(u"shots/"_s + name)).image;
            QCOMPARE(rgb(written.pixels), rgb(AnnotationRenderer::render(state().doc).pixels));
        }
        QCOMPARE(m_home->read(u"shots/a.b-annotated-2.png"_s), "mine");
        {
            const FullDisk full;
            click(u"Save"_s);
        }
        QVERIFY(state().statusIsFailure);
        QCOMPARE(state().statusText, u"Failed to save: File too large"_s);
        QCOMPARE(saved().size(), 3); // nothing is left behind
    }

    // A base name that is a placeholder, and one that leaves no room for what is appended.
    void savesUnderSensibleNames()
    {
        const QString name = u"注"_s;
        for (const auto &[source, first, second] : {std::tuple(u"100%1 %2"_s, u"100%1 %2"_s, u"100%1 %2"_s),
                                                    {name.repeated(83), name.repeated(80), name.repeated(79)}}) {
            EditorWindow editor(state().doc, u"/somewhere/"_s + source + u".png"_s);
            editor.click(u"Save"_s);
            QCOMPARE(editor.state().statusText, u"Saved: "_s + first + u"-annotated.png"_s);
            editor.click(u"Save"_s);
            QCOMPARE(editor.state().statusText, u"Saved: "_s + second + u"-annotated-2.png"_s);
        }
    }

    void copies()
    {
        m_editor->choose(Tool::text);
        events().click({30, 30});
        QTest::keyClicks(canvas().textField(), u"typed"_s);
        click(u"Annotate & Copy"_s); // takes along what is still being typed
        QCOMPARE(state().statusText, u"Copied"_s);
        QCOMPARE(state().doc.items.size(), 2);
        const QImage expected = rgb(AnnotationRenderer::render(state().doc).pixels);
        QCOMPARE(rgb(QGuiApplication::clipboard()->image()), expected);
        QGuiApplication::clipboard()->clear();
        m_editor->key(Qt::Key_Return);
        QCOMPARE(rgb(QGuiApplication::clipboard()->image()), expected);
        QVERIFY(m_editor->view.isVisible());
        click(u"Close"_s);
        QVERIFY(!m_editor->view.isVisible());
    }

    // What the hands left, after the process has gone: it is offered when the picture is opened again, and until it is
    // saved or discarded.
    void drafts()
    {
        const QDir folder(m_home->file(u".local/state/quillmere/drafts"_s));
        const auto left = [&] { return folder.entryInfoList(QDir::Files); };
        events().drag({20, 20}, {60, 60});
        m_editor->choose(Tool::text);
        events().click({200, 200});
        QTest::keyClicks(canvas().textField(), u"typed"_s);
        QTRY_COMPARE(left().size(), 1);
        m_editor->view.storeDraft(); // should the hands have rested before
        QCOMPARE(left()[0].permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::ExeOwner),
                 QFile::Permissions());
        const Draft another(u"/somewhere/a.b.png"_s); // a second editor of the same picture
        QVERIFY(!another.load());
        AnnotationDoc doc = state().doc;
        const QList<Annotation> drawn = canvas().settledDoc().items;
        QCOMPARE(drawn.size(), 3);

        doc.items.clear();
        for (const QString &way : {u"Continue"_s, u"Discard"_s, QString()}) {
            m_editor.reset();
            m_editor = std::make_unique<EditorWindow>(doc);
            m_editor->view.offerDraft();
            QCOMPARE(!m_editor->view.findChild<QMessageBox *>(), way.isEmpty());
            if (!way.isEmpty())
                answer(m_editor->view, way);
            QCOMPARE(state().doc.items, way == u"Continue"_s ? drawn : QList<Annotation>());
            m_editor->view.endSession();
        }
        QVERIFY(left().isEmpty());
        events().drag({20, 20}, {60, 60});
        m_editor->view.storeDraft();
        const auto age = [&](int days) {
            m_home->setModified(u".local/state/quillmere/drafts/"_s + left()[0].fileName(),
                                QDateTime::currentSecsSinceEpoch() - days * 24 * 3600);
            return left()[0].lastModified();
        };
        const QDateTime stored = age(29);
        m_editor->choose(Tool::rect);
        m_editor->view.storeDraft(); // nothing has changed
        Draft::removeOld();
        QCOMPARE(left().value(0).lastModified(), stored);
        age(31);
        Draft::removeOld();
        QVERIFY(left().isEmpty());
        m_editor->view.storeDraft();
        QCOMPARE(left().size(), 1);
        click(u"Save"_s);
        QVERIFY(left().isEmpty());
    }

    // At the next start, whatever became of the pictures meanwhile.
    void draftsOffered()
    {
        const QList items{state().doc.items[0]};
        const QStringList names{u"as it was"_s, u"another"_s, u"gone"_s, u"a folder"_s, u"words"_s};
        for (int i = 0; i < names.size(); ++i) {
            QVERIFY(PngWriter::write(m_home->file(names[i]), sampleScreenshot({300, 200}, 1)));
            Draft first(m_home->file(names[i])), second(m_home->file(names[i])); // of two editors
            QVERIFY(i == 1 || first.store({items, {}}));
            QVERIFY(i > 1 || second.store({{}, QRectF(1, 1, 9, 9)}));
        }
        QVERIFY(PngWriter::write(m_home->file(names[1]), sampleScreenshot({30, 20}, 1)));
        for (const QString &name : names.sliced(2))
            QVERIFY(QFile::remove(m_home->file(name)));
        QVERIFY(QDir().mkdir(m_home->file(names[3])));
        m_home->write(names[4], "no picture");

        AnnotationWindowController controller;
        controller.offerDrafts();
        QPointer<DraftsWindow> window;
        QTRY_VERIFY(std::ranges::any_of(QApplication::topLevelWidgets(), [&](QWidget *widget) {
            window = dynamic_cast<DraftsWindow *>(widget);
            return bool(window);
        }));
        const auto button = [&](const QString &what) -> QAbstractButton * {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            for (auto *found : window ? window->findChildren<QAbstractButton *>() : QList<QAbstractButton *>()) {
                if (found->accessibleName() == what)
                    return found;
            }
            return nullptr;
        };
        for (int i = 0; i < names.size(); ++i) {
            const QAbstractButton *resume = button(u"Continue "_s + names[i]);
            QVERIFY2(resume && resume->isEnabled() == (i < 2), qPrintable(names[i]));
        }
        button(u"Continue as it was"_s)->click();
        QCOMPARE(controller.window()->state().doc.items, items);
        QVERIFY(!button(u"Continue as it was"_s)->isEnabled());
        QTRY_VERIFY(button(u"Continue as it was"_s)->isEnabled());
        button(u"Continue as it was"_s)->click(); // what a second editor of it left
        QCOMPARE(controller.window()->state().doc.crop, std::optional(QRectF(1, 1, 9, 9)));
        QTRY_VERIFY(!button(u"Continue as it was"_s));
        controller.open(m_home->file(names[1])); // its own way
        QTRY_VERIFY(!button(u"Continue another"_s));
        answer(*controller.window(), u"Discard"_s);
        for (const QString &name : names.sliced(2))
            button(u"Discard "_s + name)->click();
        QTRY_VERIFY(!window);
        QVERIFY(Draft::left().isEmpty()); // those that are open offer theirs
    }

    void asksBeforeClosing()
    {
        const auto question = [&] { return m_editor->view.findChild<QMessageBox *>(); };
        events().drag({20, 20}, {60, 60});
        click(u"Annotate & Copy"_s);
        QVERIFY(!m_editor->view.hasUnkeptEdits());
        m_editor->key(Qt::CTRL | Qt::Key_Z);
        m_editor->view.close();
        answer(m_editor->view, u"Cancel"_s);
        QVERIFY(m_editor->view.isVisible());
        m_home->write(u"shots"_s, "no folder");
        m_editor->view.close();
        QTest::keyClick(question(), Qt::Key_Return); // saves
        QVERIFY(m_editor->view.isVisible() && state().statusText.endsWith(u"shots cannot be created"_s));
        QFile::remove(m_home->file(u"shots"_s));
        QTRY_VERIFY(!question());
        m_editor->view.close();
        QTest::keyClick(question(), Qt::Key_Return);
        QVERIFY(!m_editor->view.isVisible());
        QCOMPARE(saved(), QStringList(u"a.b-annotated.png"_s));
    }

    // A press that only selects takes nothing from what can be undone or redone; an undo with a field open does not
    // write the text elsewhere; a tool that draws leaves nothing selected that is not shown.
    void stepsAndSelections()
    {
        events().drag({20, 20}, {60, 60});
        m_editor->key(Qt::CTRL | Qt::Key_Z);
        selectTheLine();
        QVERIFY(!state().canUndo() && state().canRedo());
        m_editor->key(Qt::CTRL | Qt::Key_Y);
        QCOMPARE(state().doc.items.size(), 2);
        m_editor->choose(Tool::text);
        QVERIFY(!state().selectedIndex);
        events().click({200, 200});
        QTest::keyClicks(canvas().textField(), u"typed"_s);
        click(u"Undo"_s);
        QCOMPARE(state().doc.items.size(), 2);
        QVERIFY(!canvas().textField() && state().canRedo());
    }

    void copiesOfItems()
    {
        selectTheLine();
        for (const QKeyCombination keys : {Qt::CTRL | Qt::Key_C, Qt::CTRL | Qt::Key_V, Qt::CTRL | Qt::Key_D})
            m_editor->key(keys);
        QCOMPARE(state().doc.items.size(), 3);
        Annotation copy = state().doc.items[0];
        for (int i = 1; i < 3; ++i) {
            copy.rect.translate(12, -12);
            QCOMPARE(state().doc.items[i], copy);
        }
        QCOMPARE(state().selectedIndex, Selection(2));
        {
            EditorWindow other(AnnotationDoc{sampleScreenshot({80, 60}, 1), {}, {}}); // smaller
            other.key(Qt::CTRL | Qt::Key_V);
            QCOMPARE(other.items()[0].rect, QRectF(-10, 30, 100, 0));
        }
        m_editor->view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&m_editor->view));
        m_editor->key(Qt::Key_PageUp); // round to the lowest
        QCOMPARE(state().selectedIndex, Selection(0));
        m_editor->key(Qt::Key_PageUp);
        m_editor->key(Qt::Key_Delete);
        QCOMPARE(state().doc.items.size(), 2);
        m_editor->key(Qt::CTRL | Qt::Key_C); // nothing is selected: the picture
        QCOMPARE(state().statusText, u"Copied"_s);
        m_editor->button(u"Zoom in"_s)->setFocus();
        QTest::keyClick(m_editor->button(u"Zoom in"_s), Qt::Key_Return);
        QCOMPARE(state().zoom, 1.25);
    }

    void windows()
    {
        const QString picture = m_home->file(u"one[*].png"_s);
        QVERIFY(PngWriter::write(picture, sampleScreenshot({300, 200}, 1)));
        AnnotationWindowController controller;
        controller.open(m_home->file(u"missing.png"_s));
        m_home->write(u"words.png"_s, "no picture");
        controller.open(m_home->file(u"words.png"_s));
        QVERIFY(!controller.window());

        controller.open(picture);
        const QPointer first = controller.window();
        QVERIFY(first->isVisible());
        QCOMPARE(first->windowTitle(), u"Annotate — one[*][*].png"_s);
        const QSize room = WindowPlacement::activeScreenVisibleFrame().size();
        QCOMPARE(first->size(),
                 QSize(qMin(room.width() - 120, 940), qMin(room.height() - 160, 660)).expandedTo({560, 420}));

        controller.open(picture);
        const QPointer second = controller.window();
        QVERIFY(second != first && first->isVisible());
        CanvasEvents(*first->canvas()).drag({100, 100}, {200, 200});
        QCOMPARE(first->state().undoStack.size(), 1);
        QCOMPARE(second->state().undoStack.size(), 0);
        const auto close = [](const AnnotationView *view) {
            for (auto *found : view->findChildren<QAbstractButton *>()) {
                if (found->text() == u"Close"_s)
                    found->click();
            }
        };
        close(second); // has nothing to lose; its picture's memory comes back at once
        QTRY_VERIFY(!second && !controller.window());
        bool done = false;
        controller.askAll([&] { done = true; });
        close(first); // asks once
        QVERIFY(first->isVisible() && first->findChildren<QMessageBox *>().size() == 1 && !done);
        answer(*first, u"Discard"_s);
        QTRY_VERIFY(!first && done);
    }
};

QTEST_MAIN(tst_AnnotationView)
#include "tst_AnnotationView.moc"
