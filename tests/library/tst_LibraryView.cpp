#include "index/Database.h"
#include "index/ShotStore.h"
#include "library/LibraryLook.h"
#include "library/LibraryStatus.h"
#include "library/LibraryView.h"
#include "library/PreviewPane.h"
#include "library/PreviewPicture.h"
#include "library/RecognisedText.h"
#include "library/ShotListModel.h"
#include "library/ShotListView.h"
#include "library/ShotRow.h"
#include "platform/FolderListing.h"
#include "tests/support/IndexFixture.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/Pixels.h"
#include "tests/support/TempHome.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrl>

#include <array>
#include <atomic>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// At twice the scale (see main), over a real index and real files.
class tst_LibraryView : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;
    std::unique_ptr<Database> m_database;

    // One window with what it needs.
    struct Window {
        ManualQueue queue;
        ThumbnailCache thumbnails;
        std::atomic<int> queries = 0;
        QSemaphore slow; // what a search for "slow" waits for
        std::atomic<bool> locked = false;
        LibraryView view{{queue,
                          {[this](const QString &text) { return find(text); },
                           [this] { return locked ? std::nullopt : ShotStore::version(); }},
                          {},
                          thumbnails,
                          [this](const QString &path, const auto &done) { trashed << std::pair(path, done); },
                          {&ShotStore::places, [this](qint64 id) { readAgain << id; }}}};
        QList<qint64> readAgain;
        QList<std::pair<QString, std::function<void(const Outcome &)>>> trashed;
        QLineEdit *field = view.findChild<QLineEdit *>();
        ShotListView *list = view.findChild<ShotListView *>();
        PreviewPane *preview = view.findChild<PreviewPane *>();
        ShotListModel *model = view.findChild<ShotListModel *>();

        Window()
        {
            view.resize(820, 560);
            reopen();
        }
        SearchResult find(const QString &text)
        {
            ++queries;
            if (text == u"slow")
                slow.acquire();
            return LibraryView::findInIndex(text);
        }
        void reopen()
        {
            view.show();
            view.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&view));
            QTRY_VERIFY(queries > 0 && !view.isLoading());
        }
        void look() // as it does by itself
        {
            queue.advance(LiveSearch::interval);
            QVERIFY(view.isLoading());
            QTRY_VERIFY(!view.isLoading());
        }
        QString visibleLabels(const QString &expression) const
        {
            QStringList texts;
            for (const QLabel *label : view.findChildren<QLabel *>())
                texts << (label->isVisible() ? label->text() : QString());
            return texts.filter(QRegularExpression(expression)).join(u' ');
        }
        void type(const QString &text)
        {
            const bool wasLoading = view.isLoading();
            field->setText(text);
            QCOMPARE(view.isLoading(), wasLoading); // not with each key
            queue.advance(LibraryView::debounce);
        }
        void search(const QString &text)
        {
            const int before = queries;
            type(text);
            QTRY_VERIFY(queries > before); // a look at the index may come in between
            QTRY_VERIFY(!view.isLoading());
        }
        QString names() const
        {
            QStringList result;
            for (int row = 0; row < model->rowCount(); ++row)
                result << model->index(row).data().toString();
            return result.join(u' ');
        }
        void select(int row)
        {
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(model->index(row)).center());
        }
    };

    static bool pasteboardHasImage() { return !QGuiApplication::clipboard()->image().isNull(); }

    void add(const QString &name, const QString &text, QSize size = {400, 300})
    {
        static qint64 time = 0;
        QImage image(size, QImage::Format_RGB32);
        image.fill(0xff336699);
        image.save(m_home.file(name)); // no picture without a size
        QVERIFY(addRow(*m_database, m_home.file(name), ++time, text));
    }

    void setStamp() // of "two.png", as the scan does
    {
        QFile file(m_home.file(u"two.png"_s));
        const auto attributes = FolderListing::attributes(file.fileName().toUtf8());
        Statement update = m_database->prepare("UPDATE shots SET bytes = ?, mtime_ms = ? WHERE filename = 'two.png'");
        update.bind(1, attributes->bytes);
        update.bind(2, attributes->modifiedMs);
        QVERIFY(update.run());
    }
    // Where its words stand; the picture has 400 x 300 pixels.
    void addBoxes(const QString &text)
    {
        const TextBoxes boxes{{{0, 4, {40, 30, 80, 20}}, {5, 5, {130, 30, 100, 20}}, {11, 6, {40, 90, 120, 20}}}};
        Statement store =
            m_database->prepare("INSERT INTO shot_boxes SELECT id, ? FROM shots WHERE filename = 'two.png'");
        store.bind(1, boxes.packed(text));
        QVERIFY(store.run());
    }

private Q_SLOTS:
    void init()
    {
        m_database = std::make_unique<Database>(ShotStore::databasePath(), Database::Access::write);
        QVERIFY(m_database->open());
        QVERIFY(m_database->execute("DELETE FROM shots; DELETE FROM shot_failures; DELETE FROM shot_boxes"));
        add(u"one.png"_s, u"red apple\nshared words"_s);
        add(u"two.png"_s, u"blue boat, shared"_s);
        add(u"three.png"_s, u"green, slow"_s);
        QGuiApplication::clipboard()->clear();
    }

    void opensWithTheNewestAndStaysAsItWasLeft()
    {
        Window window;
        QCOMPARE(window.names(), u"three.png two.png one.png"_s);
        window.search(u"shared"_s);
        window.select(1);
        window.list->setFocus();
        window.view.close();
        add(u"four.png"_s, u"shared, and new"_s);
        window.queue.advance(10s);
        QVERIFY(!window.view.isLoading()); // nobody looks
        window.reopen();
        QVERIFY(window.field->hasFocus());
        QCOMPARE(window.names(), u"four.png two.png one.png"_s);
        QCOMPARE(window.list->currentIndex().row(), 2);
    }

    void whatHappensToTheIndexIsSeen()
    {
        for (int i = 0; i < 20; ++i)
            add(u"many%1.png"_s.arg(i), u"more"_s, {});
        Window window;
        window.list->verticalScrollBar()->setValue(300);
        window.select(5);
        const std::optional<qint64> selection = window.view.selection();
        QStringList signalled;
        connect(window.model, &QAbstractItemModel::modelReset, this, [&] { signalled << u"reset"_s; });
        connect(window.model, &QAbstractItemModel::layoutChanged, this, [&] { signalled << u"layout"_s; });
        connect(window.model, &QAbstractItemModel::rowsInserted, this, [&] { signalled << u"in"_s; });
        connect(window.model, &QAbstractItemModel::rowsRemoved, this, [&] { signalled << u"out"_s; });
        connect(window.model, &QAbstractItemModel::dataChanged, this, [&](auto, auto, const QList<int> &roles) {
            if (roles.isEmpty()) // no thumbnail
                signalled << u"data"_s;
        });
        window.look();
        QVERIFY(m_database->execute("UPDATE shots SET indexed_at = 'later'")); // a commit that changes nothing here
        const int before = window.queries;
        window.look();
        QCOMPARE(window.queries.load(), before + 1);
        QCOMPARE(signalled, QStringList());

        add(u"new.png"_s, u"new"_s);
        QVERIFY(m_database->execute("DELETE FROM shots WHERE filename = 'one.png'"));
        window.look();
        QCOMPARE(signalled, QStringList({u"out"_s, u"in"_s, u"data"_s}));
        QVERIFY(window.names().startsWith(u"new.png many19.png"_s) && window.names().endsWith(u"two.png"_s));
        QCOMPARE(window.list->verticalScrollBar()->value(), 300 + ShotRow::height);
        QVERIFY(selection && window.view.selection() == selection);
        QCOMPARE(window.list->currentIndex().row(), 6);

        window.locked = true;
        window.look();
        QCOMPARE(window.visibleLabels(u"index"_s), u"The index can't be read right now; trying again"_s);
        window.type(u"nothing"_s);
        QTRY_VERIFY(!window.view.isLoading());
        QCOMPARE(window.model->rowCount(), 23);
        window.locked = false;
        window.look();
        QCOMPARE(window.visibleLabels(u"index|No "_s), u"No matches"_s);
    }

    void whatIsReadAndWhatCannotBe()
    {
        Window window;
        const auto line = [&] { return window.visibleLabels(u"[Rr]ead"_s).remove(QRegularExpression(u"<[^>]*>"_s)); };
        QCOMPARE(line(), QString());
        window.view.setReading({311, 5008});
        QCOMPARE(line(), u"Reading 312 of 5,008 screenshots"_s);
        QVERIFY(m_database->execute("INSERT INTO shot_failures SELECT id, 'torn', 0 FROM shots;"
                                    "UPDATE shots SET ocr_done = 0"));
        window.look();
        window.view.setReading({});
        QCOMPARE(line(), u"3 can't be read"_s);
        auto *status = window.view.findChild<LibraryStatus *>();
        status->onReasons();
        QTRY_VERIFY(window.view.findChild<QTreeWidget *>());
        QCOMPARE(window.view.findChild<QTreeWidget *>()->topLevelItem(2)->text(1), u"torn"_s);
        QVERIFY(m_database->execute("DELETE FROM shot_failures"));
        window.look();
        QVERIFY(!status->isVisible());
    }

    void typingAsksOnceWhenItRests()
    {
        Window window;
        for (const char c : {'g', 'r', 'e', 'e', 'n'}) {
            QTest::keyClick(window.field, c);
            window.queue.advance(199ms);
        }
        QCOMPARE(window.queries.load(), 1);
        window.queue.advance(1ms);
        QTRY_COMPARE(window.names(), u"three.png"_s);
        QCOMPARE(window.queries.load(), 2);
    }

    void theLastSearchHasTheLastWord()
    {
        Window window;
        window.type(u"slow"_s);
        QTRY_COMPARE(window.queries.load(), 2);
        window.type(u"shared"_s);
        QTest::qWait(1); // another thread would answer now
        window.slow.release();
        QTRY_COMPARE(window.queries.load(), 3);
        QTRY_VERIFY(!window.view.isLoading());
        QCOMPARE(window.names(), u"two.png one.png"_s);
    }

    void selectionSurvivesOrGoes()
    {
        Window window;
        window.select(1);
        const std::optional<qint64> two = window.view.selection();
        QTRY_COMPARE(window.preview->showing(), PreviewPane::Showing::picture);
        window.search(u"shared"_s);
        QVERIFY(two && window.view.selection() == two);
        QCOMPARE(window.list->currentIndex().row(), 0);
        window.search(u"green"_s);
        QCOMPARE(window.view.selection(), std::nullopt);
        QVERIFY(!window.list->selectionModel()->hasSelection());
        QCOMPARE(window.preview->showing(), PreviewPane::Showing::placeholder);
    }

    void theSameRowsAreNotReloaded()
    {
        for (int i = 0; i < 20; ++i)
            add(u"many%1.png"_s.arg(i), u"more"_s, {});
        Window window;
        QSignalSpy resets(window.model, &QAbstractItemModel::modelReset);
        window.list->verticalScrollBar()->setValue(300);
        QVERIFY(m_database->execute("UPDATE shots SET ocr_text = ocr_text || ' again'"));
        window.search(u" "_s);
        QCOMPARE(resets.count(), 0);
        QCOMPARE(window.list->verticalScrollBar()->value(), 300);
        QCOMPARE(window.model->shotAt(0)->ocrText, u"more again"_s);
        window.search(u"shared"_s);
        QCOMPARE(window.list->verticalScrollBar()->value(), 0);
    }

    void emptyStates()
    {
        QVERIFY(m_database->execute("DELETE FROM shots"));
        Window window;
        QCOMPARE(window.visibleLabels(u"^No "_s), u"No screenshots yet"_s);
        window.search(u"  "_s);
        QCOMPARE(window.visibleLabels(u"^No "_s), u"No matches"_s);
    }

    void keyboardWalk()
    {
        Window window;
        const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
            QTest::keyClick(QApplication::focusWidget(), key, modifiers);
        };
        QVERIFY(window.field->parentWidget()->findChild<QToolButton *>()->isHidden());
        press(Qt::Key_Tab);
        QCOMPARE(window.list->currentIndex().row(), 0);
        press(Qt::Key_Backtab);
        window.search(u"shared"_s);
        QCOMPARE(window.field->parentWidget()->findChild<QToolButton *>()->accessibleName(), u"Clear"_s);
        press(Qt::Key_Down);
        QVERIFY(window.list->hasFocus());
        press(Qt::Key_Down);
        QCOMPARE(window.list->currentIndex().row(), 1);
        press(Qt::Key_Return);
        QTRY_VERIFY(pasteboardHasImage());
        press(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(window.field->selectedText(), u"shared"_s);

        // What is marked in the field is copied before the shot.
        press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"shared"_s);
        window.field->deselect();
        press(Qt::Key_C, Qt::ControlModifier);
        QTRY_VERIFY(pasteboardHasImage());

        press(Qt::Key_Down);
        press(Qt::Key_Up);
        press(Qt::Key_Up);
        QVERIFY(window.field->hasFocus());
        press(Qt::Key_Down);
        press(Qt::Key_X);
        QVERIFY(window.field->hasFocus());
        QCOMPARE(window.field->text(), u"sharedx"_s);
        press(Qt::Key_Escape);
        QCOMPARE(window.field->text(), QString());
        QVERIFY(window.view.isVisible());
        press(Qt::Key_Escape);
        QVERIFY(!window.view.isVisible());
    }

    void doubleClickCopiesOnlyOnARow()
    {
        Window window;
        QWidget *rows = window.list->viewport();
        window.select(0);
        QVERIFY(window.view.selection());
        QTest::mouseClick(rows, Qt::LeftButton, {}, {50, 500});
        QVERIFY(!window.view.selection());
        QTest::mouseDClick(rows, Qt::LeftButton, {}, {50, 500});
        QVERIFY(!window.view.selection() && !pasteboardHasImage());
        window.select(0);
        QTest::mouseDClick(rows, Qt::LeftButton, {}, {50, 20});
        QTRY_COMPARE(QGuiApplication::clipboard()->image().size(), QSize(400, 300));
    }

    void textOnThePicture()
    {
        QVERIFY(m_database->execute("UPDATE shots SET ocr_text = 'blue boat,\nshared' WHERE filename = 'two.png'"));
        setStamp();
        Window window;
        auto *picture = window.view.findChild<PreviewPicture *>();
        QWidget *view = picture->viewport();
        auto *pane = window.view.findChild<RecognisedText *>();
        window.search(u"b"_s);
        window.select(0);
        QTRY_COMPARE(window.readAgain, QList<qint64>{*window.view.selection()}); // an older program has read it
        addBoxes(u"blue boat,\nshared"_s);
        window.look();
        QTRY_VERIFY(picture->isSharp());
        const auto at = [&](double x, double y) { // a point of the picture
            const QSizeF room = picture->size(), shown = QSizeF(400, 300).scaled(room, Qt::KeepAspectRatio);
            return QPointF((room.width() - shown.width()) / 2 + x / 400 * shown.width(),
                           (room.height() - shown.height()) / 2 + y / 300 * shown.height())
                .toPoint();
        };
        const auto changed = [&](double x, double y) {
            return picture->grab().toImage().pixel(at(x, y) * 2) != qRgb(0x33, 0x66, 0x99);
        };
        // The letter is found in "blue" and in "boat,", and is marked just there.
        QTRY_VERIFY(changed(50, 40) && changed(135, 40));
        QVERIFY(!changed(100, 40) && !changed(60, 100));
        QCOMPARE(window.visibleLabels(u"Match"_s), u"Match 1 of 2"_s);
        QTest::keyClick(window.list, Qt::Key_F3);
        QCOMPARE(window.visibleLabels(u"Match"_s), u"Match 2 of 2"_s);
        QCOMPARE(pane->textCursor().position(), 5);
        QTest::keyClick(window.list, Qt::Key_F3);
        QCOMPARE(window.visibleLabels(u"Match"_s), u"Match 1 of 2"_s);

        for (const auto &[point, shape] :
             {std::pair(at(300, 200), Qt::ArrowCursor), std::pair(at(60, 40), Qt::IBeamCursor)}) {
            QMouseEvent move(QEvent::MouseMove, point, view->mapToGlobal(point), Qt::NoButton, {}, {});
            QApplication::sendEvent(view, &move);
            QCOMPARE(view->cursor().shape(), shape);
        }
        const auto copied = [&] {
            QTest::keyClick(picture, Qt::Key_C, Qt::ControlModifier);
            return QGuiApplication::clipboard()->text();
        };
        QTest::mousePress(view, Qt::LeftButton, {}, at(151, 38)); // behind the "b"
        QMouseEvent drag(QEvent::MouseMove, at(300, 103), view->mapToGlobal(at(300, 103)), Qt::NoButton, Qt::LeftButton,
                         {});
        QApplication::sendEvent(view, &drag); // beside the second line
        QTest::mouseRelease(view, Qt::LeftButton, {}, at(300, 103));
        QCOMPARE(copied(), u"oat,\nshared"_s);
        QCOMPARE(pane->textCursor().selectionStart(), 6);
        QApplication::setDoubleClickInterval(10'000); // events of a test come half a second apart
        QTest::mouseDClick(view, Qt::LeftButton, {}, at(60, 40));
        QCOMPARE(copied(), u"blue"_s);
        QTest::mouseClick(view, Qt::LeftButton, {}, at(60, 40));
        QCOMPARE(copied(), u"blue boat,"_s);
        QTest::keyClick(picture, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(copied(), u"blue boat,\nshared"_s);

        // A file that has changed since it was read shows something else.
        QImage other(400, 300, QImage::Format_RGB32);
        other.fill(Qt::white);
        QVERIFY(other.save(m_home.file(u"two.png"_s)));
        m_home.setModified(u"two.png"_s, 1'000'000'000);
        window.search(u"shared"_s);
        window.select(1);
        window.select(0);
        QTRY_COMPARE(window.visibleLabels(u"Match"_s), u"Match 1 of 1"_s);
        QTRY_VERIFY(picture->isSharp());
        QVERIFY(ShotStore::places(*window.view.selection()).boxes == std::nullopt);
        QCOMPARE(picture->selection(), TextMatch::Range());
        QTRY_COMPARE(picture->grab().toImage().pixel(at(60, 100) * 2), qRgb(255, 255, 255));
    }

    void whatIsTrashedIsHidden()
    {
        Window window;
        QTest::keyClick(window.field, Qt::Key_Delete); // there it is for the text
        window.select(1);
        QTest::keyClick(window.list, Qt::Key_Delete);
        QCOMPARE(window.names(), u"three.png one.png"_s);
        QCOMPARE(window.view.selection(), window.view.shots()[1].id);
        window.search(u"shared"_s); // before the scan has removed the row
        QCOMPARE(window.names(), u"one.png"_s);
        QCOMPARE(window.trashed.size(), 1);
        window.trashed[0].second(Outcome::failure(u"no trash here"_s));
        QTRY_COMPARE(window.names(), u"two.png one.png"_s);
        QCOMPARE(window.visibleLabels(u"trash"_s), u"two.png could not be moved to the trash, and was not deleted."_s);
        QCOMPARE(window.trashed[0].first, m_home.file(u"two.png"_s));

        // Put back before a scan has missed it.
        window.select(0);
        QTest::keyClick(window.list, Qt::Key_Delete);
        QCOMPARE(window.names(), u"one.png"_s);
        QFile::rename(m_home.file(u"two.png"_s), m_home.file(u"trashed.png"_s));
        window.trashed[1].second(Outcome::success());
        window.search(u"shared "_s);
        QCOMPARE(window.names(), u"one.png"_s);
        QFile::rename(m_home.file(u"trashed.png"_s), m_home.file(u"two.png"_s));
        QEvent activated(QEvent::ActivationChange); // back from the file manager
        QApplication::sendEvent(&window.view, &activated);
        QTRY_COMPARE(window.names(), u"two.png one.png"_s);
        QVERIFY(rows(*m_database, "SELECT filename FROM shots", 1).contains(u"two.png"_s));
    }

    void listTextsAreReadable()
    {
        const QColor accents[] = {{0x30, 0x8c, 0xc6}, {0x35, 0x84, 0xe4}, {0x21, 0x90, 0xa4}, {0x3a, 0x94, 0x4a},
                                  {0xc8, 0x88, 0x00}, {0xed, 0x5b, 0x00}, {0xe6, 0x2d, 0x42}, {0xd5, 0x61, 0x99},
                                  {0x91, 0x41, 0xac}, {0x6f, 0x83, 0x96}, {0xff, 0xe0, 0x80}, {0x3d, 0xae, 0xe9}};
        QPalette dark(QColor(49, 54, 59), QColor(42, 46, 50));
        for (QPalette palette : {QApplication::palette(), dark}) {
            for (const QColor &accent : accents) {
                palette.setColor(QPalette::Highlight, accent);
                palette.setColor(QPalette::HighlightedText, accent.green() > 200 ? Qt::black : Qt::white);
                using LibraryLook::RowState;
                for (const RowState state : {RowState::plain, RowState::selected, RowState::selectedWithFocus}) {
                    const auto colors = LibraryLook::rowColors(palette, state);
                    QVERIFY(Pixels::contrast(colors.text, colors.ground) >= 4.5);
                    QVERIFY(Pixels::contrast(colors.secondary, colors.ground) >= 4.5);
                }
            }
            QVERIFY(Pixels::contrast(LibraryLook::markedText(palette), LibraryLook::marked(palette)) >= 4.5);
        }
    }

    void aDeletedFile()
    {
        QFile::remove(m_home.file(u"two.png"_s));
        Window window;
        QTRY_VERIFY(window.model->isGone(1));
        QVERIFY(!window.model->isGone(0));
        window.select(1);
        QTRY_COMPARE(window.preview->showing(), PreviewPane::Showing::failure);
        QCOMPARE(window.visibleLabels(u"gone"_s), u"The file is gone"_s);
        QGuiApplication::clipboard()->setText(u"before"_s);
        std::optional<bool> copied;
        ShotActions::copyToClipboard(window.view.shots()[1], [&](bool result) { copied = result; });
        QTRY_COMPARE(copied, std::optional(false));
        QCOMPARE(QGuiApplication::clipboard()->text(), u"before"_s);
    }

    void theTextTellsWhyAShotWasFound()
    {
        Window window;
        auto *text = window.view.findChild<RecognisedText *>();
        window.search(u" SHA_ed"_s);
        window.select(1);
        QTRY_COMPARE(text->marks(), QList<TextMatch::Range>({{10, 6}}));
        QCOMPARE(text->toPlainText(), u"red apple\nshared words"_s);
        window.search(u"words apple pl"_s); // the last is within the one before
        QCOMPARE(window.visibleLabels(u"words"_s), u"Nothing holds exactly this. These hold all of the words."_s);
        QTRY_COMPARE(text->marks(), QList<TextMatch::Range>({{4, 5}, {17, 5}}));
        QVERIFY(m_database->execute("UPDATE shots SET ocr_text = ' \n'"));
        window.search(QString());
        QVERIFY(!text->isVisible());
    }

    void picturesAreSharpOnAScaledScreen()
    {
        add(u"large.png"_s, u"large"_s, {1600, 1200});
        Window window;
        QTRY_COMPARE(window.model->thumbnail(0).size(), QSize(192, 144));

        QImage stripes(200, 160, QImage::Format_RGB32); // a pixel wide each, and as large as the view in its own pixels
        for (int i = 0; i < 200 * 160; ++i)
            stripes.setPixel(i % 200, i / 200, i % 2 ? 0xffffffff : 0xff000000);
        PreviewPicture picture;
        picture.resize(100, 80);
        picture.setImage(stripes, {});
        picture.show();
        QTRY_VERIFY(picture.isSharp());
        const QRect inside(20, 20, 160, 120);
        QImage seen = picture.grab().toImage().convertToFormat(QImage::Format_RGB32);
        seen.setDevicePixelRatio(1);
        QCOMPARE(seen.copy(inside), stripes.copy(inside));
    }

    void aRowIsDraggedAsFileAndPicture()
    {
        Window window;
        const std::unique_ptr<QMimeData> data(window.model->mimeData({window.model->index(2)}));
        QCOMPARE(data->urls(), QList<QUrl>{QUrl::fromLocalFile(m_home.file(u"one.png"_s))});
        QCOMPARE(data->data(u"image/png"_s), m_home.read(u"one.png"_s));
        QCOMPARE(qvariant_cast<QImage>(data->imageData()).size(), QSize(400, 300));
        QVERIFY(window.model->flags(window.model->index(0)) & Qt::ItemIsDragEnabled);
    }

    void rowTexts()
    {
        QCOMPARE(ShotText::captureTime({}) + ShotText::excerpt({}).line, QString());
        QCOMPARE(ShotText::captureTime({.takenAt = u"2024-05-01T09:30:15"_s}), u"2024-05-01 09:30"_s);
        const QString dots = u".."_s.repeated(50);
        const std::array<QString, 3> excerpts[] = {
            // a text, what was searched in it, and what is shown
            {u" \t a\n\n b\u3000c "_s, {}, u"a b c"_s},
            {u"x "_s.repeated(80), {}, u"x "_s.repeated(50)},
            {u"か\u3099"_s.repeated(120), {}, u"か\u3099"_s.repeated(100)}, // as a reader counts
            {u" a\n\nb c "_s, u"B"_s, u"a [b] c"_s},
            {u"a\tb"_s, u"a%b"_s, u"[a b]"_s},
            {u"a b"_s, u"x"_s, u"a b"_s},
            {dots + u"x"_s + dots, u"x"_s, u"…"_s + dots.left(30) + u"[x]"_s + dots.left(68)},
            {dots + dots, u"."_s, u"[.]"_s + dots.left(99)},
        };
        for (const auto &[text, term, expected] : excerpts) {
            auto [line, match] =
                ShotText::excerpt({.ocrText = text}, term.isEmpty() ? QStringList() : QStringList(term));
            if (match.length > 0)
                line.insert(match.start + match.length, u']').insert(match.start, u'[');
            QCOMPARE(line, expected);
        }
    }
};

int main(int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication application(argc, argv);
    tst_LibraryView test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_LibraryView.moc"
