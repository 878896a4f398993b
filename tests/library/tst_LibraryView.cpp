#include "index/Database.h"
#include "index/ShotStore.h"
#include "library/ActionRow.h"
#include "library/LibraryView.h"
#include "library/PreviewPane.h"
#include "library/PreviewPicture.h"
#include "library/RecognisedText.h"
#include "library/ShotListModel.h"
#include "library/ShotListView.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/TempHome.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include <atomic>

using namespace qm;
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
        QStringList annotated;
        LibraryView view{{queue,
                          [this](const QString &text) {
                              ++queries;
                              return LibraryView::findInIndex(text);
                          },
                          [this](const QString &path) { annotated << path; }, thumbnails}};
        QLineEdit *field = view.findChild<QLineEdit *>();
        ShotListView *list = view.findChild<ShotListView *>();
        PreviewPane *preview = view.findChild<PreviewPane *>();
        ShotListModel *model = view.findChild<ShotListModel *>();

        Window()
        {
            view.resize(820, 560);
            reopen();
        }
        void reopen()
        {
            view.show();
            view.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&view));
            settle(1);
        }
        // Until this many queries were made, and the last one's result is there.
        void settle(int number)
        {
            QTRY_COMPARE(queries.load(), number);
            QTRY_VERIFY(!view.isLoading());
        }
        void search(const QString &text)
        {
            const int before = queries;
            field->setText(text);
            queue.advance(LibraryView::debounce);
            settle(before + 1);
        }
        QStringList names() const
        {
            QStringList result;
            for (int row = 0; row < model->rowCount(); ++row)
                result << model->index(row).data().toString();
            return result;
        }
        QStringList visibleTexts() const
        {
            QStringList texts;
            for (const QLabel *label : view.findChildren<QLabel *>()) {
                if (label->isVisible())
                    texts << label->text();
            }
            return texts;
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
        const QString path = m_home.file(name);
        if (!size.isEmpty()) {
            QImage image(size, QImage::Format_RGB32);
            image.fill(0xff336699);
            image.save(path);
        }
        Statement insert =
            m_database->prepare("INSERT INTO shots(path, filename, mtime_ms, ocr_text, ocr_done, indexed_at)"
                                " VALUES(?, ?, ?, ?, 1, 'x')");
        insert.bind(1, path);
        insert.bind(2, name);
        insert.bind(3, ++time);
        insert.bind(4, text);
        QVERIFY(insert.run());
    }

private Q_SLOTS:
    void init()
    {
        m_database = std::make_unique<Database>(ShotStore::databasePath(), Database::Access::write);
        QVERIFY(m_database->open());
        QVERIFY(m_database->execute("DELETE FROM shots"));
        add(QStringLiteral("one.png"), QStringLiteral("red apple\nshared words"));
        add(QStringLiteral("two.png"), QStringLiteral("blue boat, shared"));
        add(QStringLiteral("three.png"), QStringLiteral("green"));
        QGuiApplication::clipboard()->clear();
    }

    void opensWithTheNewestAndStaysAsItWasLeft()
    {
        Window window;
        QCOMPARE(window.names(),
                 QStringList({QStringLiteral("three.png"), QStringLiteral("two.png"), QStringLiteral("one.png")}));
        QVERIFY(window.field->hasFocus());
        window.list->setFocus();
        window.view.close();
        add(QStringLiteral("four.png"), QStringLiteral("new"));
        window.reopen();
        QVERIFY(window.field->hasFocus());
        QCOMPARE(window.names().size(), 3);
        QCOMPARE(window.queries.load(), 1);
        window.search(QStringLiteral("new"));
        QCOMPARE(window.names(), QStringList(QStringLiteral("four.png")));
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
        window.settle(2);
        QCOMPARE(window.names(), QStringList(QStringLiteral("three.png")));
    }

    void atMostTheNewest200()
    {
        QVERIFY(m_database->execute("BEGIN"));
        for (int i = 0; i < 230; ++i)
            add(QStringLiteral("many%1.png").arg(i), QStringLiteral("many"), {});
        QVERIFY(m_database->execute("COMMIT"));
        Window window;
        QCOMPARE(window.names().size(), 200);
        window.search(QStringLiteral("many"));
        QCOMPARE(window.names().size(), 200);
        QCOMPARE(window.names().front(), QStringLiteral("many229.png"));
    }

    void selectionSurvivesOrGoes()
    {
        Window window;
        window.select(1);
        const std::optional<qint64> two = window.view.selection();
        QVERIFY(two);
        QTRY_COMPARE(window.preview->showing(), PreviewPane::Showing::picture);
        window.search(QStringLiteral("shared"));
        QCOMPARE(window.view.selection(), two);
        QCOMPARE(window.list->currentIndex().row(), 0);
        window.search(QStringLiteral("green"));
        QCOMPARE(window.view.selection(), std::nullopt);
        QVERIFY(!window.list->selectionModel()->hasSelection());
        QCOMPARE(window.preview->showing(), PreviewPane::Showing::placeholder);
    }

    void theSameRowsAreNotReloaded()
    {
        for (int i = 0; i < 20; ++i)
            add(QStringLiteral("many%1.png").arg(i), QStringLiteral("more"), {});
        Window window;
        QSignalSpy resets(window.model, &QAbstractItemModel::modelReset);
        window.select(1);
        window.list->verticalScrollBar()->setValue(300);
        QVERIFY(m_database->execute("UPDATE shots SET ocr_text = ocr_text || ' again'"));
        window.search(QStringLiteral(" "));
        QCOMPARE(resets.count(), 0);
        QCOMPARE(window.list->verticalScrollBar()->value(), 300);
        QVERIFY(window.view.selection());
        QCOMPARE(window.model->shotAt(0)->ocrText, QStringLiteral("more again"));
        window.search(QStringLiteral("shared"));
        QCOMPARE(resets.count(), 1);
        QCOMPARE(window.list->verticalScrollBar()->value(), 0);
    }

    void emptyStates_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("nothing typed") << QString() << "No screenshots yet";
        QTest::newRow("a blank is something") << QStringLiteral("  ") << "No matches";
        QTest::newRow("no such word") << QStringLiteral("nowhere") << "No matches";
    }
    void emptyStates()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QVERIFY(m_database->execute("DELETE FROM shots"));
        Window window;
        if (!text.isEmpty())
            window.search(text);
        QVERIFY(window.visibleTexts().contains(expected));
        QCOMPARE(window.visibleTexts().size(), text.isEmpty() ? 3 : 2); // with the preview's, and the hint
    }

    void keyboardWalk()
    {
        Window window;
        const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
            QTest::keyClick(QApplication::focusWidget(), key, modifiers);
        };
        QTest::keyClicks(window.field, QStringLiteral("shared"));
        window.queue.advance(LibraryView::debounce);
        window.settle(2);
        press(Qt::Key_Down);
        QVERIFY(window.list->hasFocus());
        QCOMPARE(window.list->currentIndex().row(), 0);
        press(Qt::Key_Down);
        QCOMPARE(window.list->currentIndex().row(), 1);
        press(Qt::Key_Return);
        QTRY_VERIFY(pasteboardHasImage());
        QGuiApplication::clipboard()->clear();
        press(Qt::Key_C, Qt::ControlModifier);
        QTRY_VERIFY(pasteboardHasImage());
        press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY(window.field->hasFocus());
        QCOMPARE(window.field->selectedText(), QStringLiteral("shared"));

        // What is marked in the field is copied before the shot.
        press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("shared"));
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
        QCOMPARE(window.field->text(), QStringLiteral("sharedx"));
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
        QTest::mouseDClick(rows, Qt::LeftButton, {}, {50, 500});
        window.select(0);
        QVERIFY(window.view.selection());
        QTest::mouseClick(rows, Qt::LeftButton, {}, {50, 500});
        QVERIFY(!window.view.selection());
        QVERIFY(!pasteboardHasImage());
        window.select(0);
        QTest::mouseDClick(rows, Qt::LeftButton, {}, {50, 20});
        QTRY_COMPARE(QGuiApplication::clipboard()->image().size(), QSize(400, 300));
    }

    void aDeletedFile()
    {
        QFile::remove(m_home.file(QStringLiteral("two.png")));
        Window window;
        window.select(1);
        QTRY_COMPARE(window.preview->showing(), PreviewPane::Showing::failure);
        QVERIFY(window.visibleTexts().contains(QStringLiteral("Can't load this image")));

        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        std::optional<bool> copied;
        ShotActions::copyToClipboard(window.view.shots()[1], [&](bool result) { copied = result; });
        QTRY_COMPARE(copied, std::optional(false));
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
        auto *buttons = window.view.findChild<ActionRow *>();
        buttons->button(ShotAction::annotate)->click();
        QCOMPARE(window.annotated, QStringList(m_home.file(QStringLiteral("two.png"))));
    }

    void theTextTellsWhyAShotWasFound()
    {
        Window window;
        auto *text = window.view.findChild<RecognisedText *>();
        window.search(QStringLiteral(" SHA_ed"));
        window.select(1);
        QTRY_COMPARE(text->marks(), QList<TextMatch::Range>({{10, 6}}));
        QCOMPARE(text->toPlainText(), QStringLiteral("red apple\nshared words"));
        QVERIFY(text->isVisible());
        QVERIFY(m_database->execute("UPDATE shots SET ocr_text = ' \n'"));
        window.search(QString());
        QVERIFY(!text->isVisible());
    }

    void picturesAreSharpOnAScaledScreen()
    {
        add(QStringLiteral("large.png"), QStringLiteral("large"), {1600, 1200});
        Window window;
        QTRY_COMPARE(window.model->thumbnail(0).size(), QSize(192, 144));
        window.select(0);
        auto *picture = window.view.findChild<PreviewPicture *>();
        QTRY_VERIFY(picture->isSharp());
        const QImage seen = picture->grab().toImage();
        QCOMPARE(seen.pixel(seen.rect().center()), 0xff336699);
    }

    void contextMenuHasTheFourActions()
    {
        Window window;
        QContextMenuEvent event(QContextMenuEvent::Mouse, {50, 20},
                                window.list->viewport()->mapToGlobal(QPoint(50, 20)));
        QCoreApplication::sendEvent(window.list->viewport(), &event);
        auto *menu = window.view.findChild<QMenu *>();
        QVERIFY(menu);
        QStringList titles;
        for (const QAction *action : menu->actions())
            titles << action->text();
        QCOMPARE(titles, QStringList({QStringLiteral("Copy"), QStringLiteral("Annotate…"),
                                      QStringLiteral("Show in Folder"), QStringLiteral("Open")}));
        menu->actions()[1]->trigger();
        QCOMPARE(window.annotated, QStringList(m_home.file(QStringLiteral("three.png"))));
    }

    void aRowIsDraggedAsFileAndPicture()
    {
        Window window;
        const std::unique_ptr<QMimeData> data(window.model->mimeData({window.model->index(2)}));
        const QString path = m_home.file(QStringLiteral("one.png"));
        QCOMPARE(data->urls(), QList<QUrl>{QUrl::fromLocalFile(path)});
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(data->data(QStringLiteral("image/png")), file.readAll());
        QCOMPARE(qvariant_cast<QImage>(data->imageData()).size(), QSize(400, 300));
        QVERIFY(window.model->flags(window.model->index(0)) & Qt::ItemIsDragEnabled);
    }

    void rowTexts_data()
    {
        QTest::addColumn<QString>("taken");
        QTest::addColumn<QString>("ocr");
        QTest::addColumn<QString>("expectedTime");
        QTest::addColumn<QString>("expectedExcerpt");
        QTest::newRow("nothing known") << QString() << QString() << QString() << QString();
        QTest::newRow("seconds are left out")
            << QStringLiteral("2024-05-01T09:30:15") << QString() << "2024-05-01 09:30" << QString();
        QTest::newRow("blanks and line ends")
            << QString() << QStringLiteral(" \t a\n\n b\u3000c ") << QString() << "a b c";
        QTest::newRow("a hundred") << QString() << QString(QStringLiteral("x ")).repeated(80) << QString()
                                   << QString(QStringLiteral("x ")).repeated(50);
        QTest::newRow("a hundred as a reader counts")
            << QString() << QStringLiteral("が").repeated(120) << QString() << QStringLiteral("が").repeated(100);
    }
    void rowTexts()
    {
        QFETCH(QString, taken);
        QFETCH(QString, ocr);
        Shot shot;
        if (!taken.isNull())
            shot.takenAt = taken;
        if (!ocr.isNull())
            shot.ocrText = ocr;
        QTEST(ShotText::captureTime(shot), "expectedTime");
        QTEST(ShotText::excerpt(shot), "expectedExcerpt");
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
