#include "tests/support/ManualQueue.h"
#include "ui/CaptureCards.h"
#include "ui/Countdown.h"

#include <QApplication>
#include <QCursor>
#include <QDrag>
#include <QMimeData>
#include <QTest>
#include <QToolButton>
#include <QToolTip>
#include <QUrl>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// Two monitors: 1000 x 800 pixels at scale 1, and right of it 1600 x 1200 at scale 2.
static const QRect first(10, 10, 300, 200), second(900, 100, 300, 200), nowhere;

class tst_FloatingPanels : public QObject
{
    Q_OBJECT

private:
    ManualQueue m_time;
    QStringList m_asked;
    std::unique_ptr<CaptureCards> m_cards;

    std::function<void(const QString &)> note(const QString &what)
    {
        return [this, what](const QString &file) { m_asked << what + u' ' + file; };
    }
    void show(const QString &file, const QRect &area = first, QSize size = {60, 40})
    {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::blue);
        m_cards->show({file, picture, area});
    }
    // Those in sight, from the top; as high as a card with a picture of this size is.
    static QList<QWidget *> cards()
    {
        QList<QWidget *> all;
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && window->height() == 88)
                all << window;
        }
        std::sort(all.begin(), all.end(), [](QWidget *a, QWidget *b) { return a->y() < b->y(); });
        return all;
    }
    // Of the cards, from the top.
    QStringList files()
    {
        m_asked.clear();
        for (QWidget *card : cards())
            button(card, u"Copy", u"コピー")->click();
        return QStringList(m_asked).replaceInStrings(u"copy "_s, QString());
    }
    static QToolButton *button(QWidget *card, const char16_t *english, const char16_t *japanese)
    {
        const QString name = QString::fromUtf16(qgetenv("LANGUAGE") == "ja" ? japanese : english);
        for (auto *button : card->findChildren<QToolButton *>()) {
            if (button->accessibleName() == name && button->toolTip() == name)
                return button;
        }
        qFatal("no button called %s", qPrintable(name));
    }

private Q_SLOTS:
    void init()
    {
        QCursor::setPos(500, 300);
        m_asked.clear();
        m_cards = std::make_unique<CaptureCards>(
            CaptureCards::Actions{note(u"open"_s), note(u"copy"_s), note(u"reveal"_s), note(u"trash"_s)}, m_time);
    }
    void cleanup() { m_cards.reset(); }

    void placeInNativePixels()
    {
        const QRect onFirst(748, 700, 252, 88), onSecond(2096, 1024, 504, 152);
        for (const auto &[area, place] : {std::pair(first, onFirst), {second, onSecond}, {nowhere, onFirst}}) {
            show(u"a"_s, area);
            QCOMPARE(m_cards->takeAway(), place);
            QCOMPARE(m_cards->takeAway(), QRect());
            m_cards->remove(u"a"_s);
        }
        show(u"a"_s);
        QToolTip::showText({100, 600}, u"Copy"_s);
        QVERIFY(m_cards->takeAway().contains({110, 700}));
        QVERIFY(!QToolTip::isVisible());
    }

    void fourSecondsAndLongerUnderThePointer()
    {
        show(u"a"_s);
        m_time.advance(3999ms);
        QCOMPARE(cards().size(), 1);
        QEnterEvent enter({}, {}, {});
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(cards()[0], &enter);
        m_time.advance(60s);
        QCoreApplication::sendEvent(cards().value(0), &leave);
        m_time.advance(4050ms); // leaving already
        QCoreApplication::sendEvent(cards().value(0), &enter);
        m_time.advance(60s);
        QCOMPARE(cards().size(), 1);
        QCoreApplication::sendEvent(cards()[0], &leave);
        m_time.advance(4500ms);
        QCOMPARE(cards().size(), 0);
    }

    void stack()
    {
        for (const QString &file : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
            show(file);
        QCOMPARE(files(), QStringList({u"b"_s, u"c"_s, u"d"_s}));
        QCOMPARE(cards()[1]->y() - cards()[0]->y(), 100);
        m_cards->remove(u"c"_s);
        QCOMPARE(cards()[0]->y(), 600);
        m_cards->takeAway();
        QCOMPARE(cards().size(), 0);
        m_cards->remove(u"b"_s);
        m_time.advance(29s); // the next capture
        show(u"e"_s);
        QCOMPARE(files(), QStringList({u"d"_s, u"e"_s}));
        m_cards->takeAway();
        m_time.advance(30s);
        show(u"f"_s);
        QCOMPARE(files(), QStringList(u"f"_s));
        m_cards->takeAway();
        m_cards->remove(u"f"_s);
        for (const QString &file : {u"a"_s, u"b"_s, u"c"_s})
            show(file, second, {400, 600});
        QCOMPARE(m_cards->takeAway().top(), 360); // two: a third would begin on the monitor above
    }

    void buttons()
    {
        const struct {
            const char16_t *english, *japanese;
            QStringList asked;
            qsizetype left;
        } rows[] = {
            {u"Annotate…", u"注釈…", {u"open a"_s}, 0},
            {u"Copy", u"コピー", {u"copy a"_s}, 1},
            {u"Show in Folder", u"フォルダーで表示", {u"reveal a"_s}, 0},
            {u"Move to Trash", u"ゴミ箱に入れる", {u"trash a"_s}, 1}, // until it is there
            {u"Close", u"閉じる", {}, 0},
        };
        for (const auto &row : rows) {
            show(u"a"_s);
            m_asked.clear();
            QTest::mouseClick(button(cards()[0], row.english, row.japanese), Qt::LeftButton);
            QCOMPARE(m_asked, row.asked);
            QCOMPARE(cards().size(), row.left);
        }
    }

    void aClickOpensAndADragGivesTheFile()
    {
        show(u"/shots/a #1.png"_s);
        QWidget *card = cards()[0];
        QTest::mouseClick(card, Qt::LeftButton, {}, {120, 30}); // while it slides in
        m_time.advance(500ms);
        QTest::mousePress(card, Qt::LeftButton, {}, {120, 30});
        QTest::mouseMove(card, {80, 20});
        const auto *drag = qApp->findChild<QDrag *>();
        QVERIFY(drag);
        QCOMPARE(drag->mimeData()->urls(), QList{QUrl::fromLocalFile(u"/shots/a #1.png"_s)});
        QTest::mouseRelease(card, Qt::LeftButton, {}, {80, 20});
        QCOMPARE(m_asked, QStringList());
        QTest::mouseClick(card, Qt::LeftButton, {}, {120, 30});
        QCOMPARE(m_asked, QStringList(u"open /shots/a #1.png"_s));
        QCOMPARE(cards().size(), 0);
    }

    void thumbnails()
    {
        const std::pair<QSize, QSize> rows[] = {
            {{60, 40}, {60, 40}},      {{6720, 4500}, {672, 450}}, {{500, 90'000}, {180, 450}},
            {{20'000, 50}, {400, 50}}, {{1000, 450}, {672, 302}},
        };
        for (const auto &[picture, thumbnail] : rows)
            QCOMPARE(CaptureCards::thumbnailOf(QImage(picture, QImage::Format_Grayscale8)).size(), thumbnail);
    }

    void countdown()
    {
        QList<QRect> places;
        const auto finished = [&](QRect place) { places << place; };
        QCursor::setPos(1100, 100);
        {
            const Countdown running(2s, finished, m_time);
            m_time.advance(1699ms);
            QVERIFY(running.isVisible() && places.isEmpty());
            const QRect place = running.nativeFrame();
            QCOMPARE(place.bottomRight(), QPoint(2599, 1175));
            m_time.advance(1ms);
            QVERIFY(!running.isVisible());
            QCOMPARE(places, QList{place});
        }
        {
            Countdown clicked(2s, finished, m_time);
            QTest::mouseClick(&clicked, Qt::LeftButton);
            QVERIFY(!clicked.isVisible());
            m_time.advance(5s);
            const Countdown destroyed(2s, finished, m_time);
        }
        m_time.advance(5s);
        QCOMPARE(places.size(), 1);
        const Countdown none(0s, finished, m_time);
        m_time.advance(0ms);
        QCOMPARE(places.value(1, first), QRect());
    }
};

int main(int argc, char **argv)
{
    const QByteArray screens = R"({"screens": [
        {"name": "A", "x": 0, "y": 0, "width": 1000, "height": 800},
        {"name": "B", "x": 1000, "y": 0, "width": 1600, "height": 1200}]})";
    QFile file(QDir::temp().filePath(u"quillmere-screens-%1.json"_s.arg(QCoreApplication::applicationPid())));
    if (!file.open(QIODevice::WriteOnly) || file.write(screens) < 0)
        return 1;
    file.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + file.fileName().toUtf8());
    qputenv("QT_SCREEN_SCALE_FACTORS", "A=1;B=2");
    qputenv("QT_LOGGING_RULES", "default.warning=false"); // that there are no masks here, at each frame
    QApplication application(argc, argv);
    file.remove();
    tst_FloatingPanels test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_FloatingPanels.moc"
