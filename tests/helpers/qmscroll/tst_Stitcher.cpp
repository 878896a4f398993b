#include "config/UnfinishedPictures.h"
#include "helpers/curtain/Dimming.h"
#include "helpers/qmscroll/FrameChange.h"
#include "helpers/qmscroll/ScrollBar.h"
#include "helpers/qmscroll/Stitcher.h"
#include "helpers/qmscroll/Take.h"
#include "tests/helpers/qmscroll/ScrollScene.h"
#include "tests/support/FullDisk.h"

#include <QPainter>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>

using namespace qm;
using namespace Qt::StringLiterals;

using Look = ScrollScene::Look;
using Content = ScrollScene::Content;
using Step = Stitcher::Step;

namespace {

// Plays the program around a stitcher, from an offset to the page's end: scrolls on, takes a smaller step when the stitcher
// cannot tell, gives up when the smallest does not help either. Then compares the picture with the page.
class Run
{
public:
    Run(const Look &look, quint32 seed, int offset, const std::function<int()> &step)
        : m_look(look)
        , m_scene(look, seed)
        , m_stitcher(look.size, [this](const QImage &rows) { return keep(rows); })
        , m_start(offset)
        , m_at(offset)
        , m_furthest(offset)
    {
        if (add(offset) != Step::first)
            wrong = u"the first frame is not the first"_s;
        while (m_at < m_scene.lastOffset() && scroll(step())) {
        }
        if (goesOn() && !stuck && add(m_at) == Step::joined && !m_look.lateGrows)
            wrong = u"joined at the end of the page"_s;
        const int height = m_stitcher.height();
        const bool finished = m_stitcher.finish();
        if (goesOn() && (!finished || height != m_picture.height()))
            wrong = u"promised %1 rows, handed over %2"_s.arg(height).arg(m_picture.height());
        if (goesOn() && !m_look.lateGrows) // what it shows then depends on what was seen when
            wrong = m_scene.difference(m_picture, m_start, m_furthest);
    }

    QString wrong;      // what the stitcher claimed that is not so
    bool stuck = false; // no step was small enough

private:
    // The page may repeat itself so that no one could have told.
    bool goesOn() const { return wrong.isEmpty() && !m_undecidable; }

    bool keep(const QImage &rows)
    {
        QImage grown(rows.width(), m_picture.height() + rows.height(), QImage::Format_RGB32);
        QPainter painter(&grown);
        painter.drawImage(0, 0, m_picture);
        painter.drawImage(0, m_picture.height(), rows);
        painter.end();
        m_picture = grown;
        return true;
    }

    Step add(int offset)
    {
        const int end = m_start + m_stitcher.height(),
                  first = end - (end > m_start ? m_stitcher.heldRows().height() : 0);
        const Step step = m_stitcher.add(m_scene.frame(offset));
        const int claimed = step == Step::joined ? m_at + m_stitcher.lastShift() : m_at;
        if (step == Step::failed)
            wrong = u"failed"_s;
        const bool isClaim = step == Step::joined || step == Step::still || step == Step::renewed;
        // What has grown may be in the picture or not: below it the page has two places.
        const bool isPushed = m_look.lateGrows && std::abs(claimed - offset) == m_look.lateRows;
        if (isClaim && claimed != offset && !isPushed) {
            m_undecidable = isUndecidable(claimed, offset, first, end);
            if (!m_undecidable)
                wrong = u"from %1 to %2: claimed %3"_s.arg(m_at).arg(offset).arg(claimed);
        }
        if (step == Step::joined) {
            m_at = offset;
            m_furthest = std::max(m_furthest, m_at);
        }
        if (isClaim && m_stitcher.renewed()) // what follows may have been given up
            m_furthest = std::min(m_furthest, m_start + m_stitcher.height() - m_look.size.height());
        return step;
    }

    // Where the page repeats itself, by a step that leaves too little to tell of what was seen, and what differs may have
    // changed by itself; or by one that shows the same.
    bool isUndecidable(int claimed, int offset, int first, int end) const
    {
        const int top = m_look.header, bottom = m_look.size.height() - m_look.footer;
        const int from = std::max(first, m_start + top), to = end - m_look.footer; // of the page, as far as it is held
        const auto clipped = [&](int at) { return std::pair(std::max(top, from - at), std::min(bottom, to - at)); };
        const auto [seenFrom, seenTo] = clipped(offset);
        const auto [shownFrom, shownTo] = clipped(claimed);
        const auto [seen, unseen] = m_scene.alikeRows(offset, offset, seenFrom, seenTo);
        const auto [all, none] = m_scene.alikeRows(offset, offset, top, bottom);
        const auto [alike, unlike] = m_scene.alikeRows(claimed, offset, shownFrom, shownTo);
        const bool isLittle = 3 * seen < all || 3 * (seenTo - seenFrom) < bottom - top;
        return isLittle ? unlike <= alike : claimed == m_at && unlike == 0;
    }

    // What is not joined is looked for again, and then by smaller steps.
    bool scroll(int by)
    {
        for (bool again = true; by != 0; by = again ? by : by / 2, again = false) {
            const int offset = std::clamp(m_at + by, 0, m_scene.lastOffset());
            if (offset == m_at || (add(offset) == Step::joined && goesOn()))
                return true;
            if (!goesOn() || (add(m_at), !goesOn()))
                return false;
        }
        stuck = true;
        return false;
    }

    const Look m_look;
    ScrollScene m_scene;
    Stitcher m_stitcher;
    QImage m_picture; // the rows handed over so far
    int m_start, m_at, m_furthest;
    bool m_undecidable = false;
};

// What is drawn over the frames at their right edge, and where they lie.
struct Edge {
    int width = 15, right = 0, top = 0; // right: what is left free beside it, top: a title above all
    int thumb = 57, inset = 3;
    double way = 0.178; // of the thumb, for each row of the page
    int buttons = 0;
    int lines = 0; // one after so many rows of the track
    bool hasTrack = true, grows = false;
    QList<int> places = {0, 60, 200, 400};

    void draw(QImage &frame, int at) const
    {
        const QRect all(frame.width() - right - width, 0, width, frame.height());
        QPainter painter(&frame);
        if (hasTrack)
            painter.fillRect(all, QColor(236, 236, 238));
        for (int y = 0; lines && y < frame.height(); y += lines)
            painter.fillRect(all.left() + 2, y, width / 2, 1, Qt::darkGray);
        const QRect button(all.left() + 2, at ? 0 : 1, width - 4, buttons - 1); // off at the beginning
        painter.fillRect(button, Qt::darkGray);
        painter.fillRect(button.translated(0, frame.height() - buttons), Qt::darkGray);
        const int from = grows ? buttons : buttons + qRound(way * at), rows = grows ? thumb + qRound(way * at) : thumb;
        painter.fillRect(all.left() + inset, from, width - 2 * inset, rows, QColor(150, 152, 158));
        painter.fillRect(0, 0, frame.width(), top, QColor(40, 60, 120));
    }
};

} // namespace

Q_DECLARE_METATYPE(Edge)
Q_DECLARE_METATYPE(ScrollScene::Look)
Q_DECLARE_METATYPE(Stitcher::Step)

class tst_Stitcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // To the end of the page, by steps between the two.
    void everyLineOnce_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<int>("least");
        QTest::addColumn<int>("most");
        const auto row = [](const char *name, const Look &look, int least, int most) {
            QTest::newRow(name) << look << least << most;
        };
        row("mixed page", {}, 1, 230);
        row("header and footer that stay", {.content = Content::text, .header = 48, .footer = 30}, 1, 180);
        row("header that begins to stick, footer that counts",
            {.header = 40, .footer = 30, .headerFrom = 300, .footerCounts = true}, 20, 110);
        row("header that shrinks", {.header = 60, .headerShrinksTo = 36}, 20, 140);
        row("bar that slides in over the bottom", {.barLater = 500}, 20, 140);
        row("scroll bar, sidebar, caret, animation",
            {.scrollBar = 14, .sidebar = 120, .caret = true, .animation = true}, 1, 140);
        row("sidebar that sticks late", {.sidebar = 120, .sidebarSticks = 400}, 20, 140);
        row("row under the pointer", {.content = Content::table, .hover = true}, 1, 120);
        row("blank stretch", {.blankFrom = 900, .blankRows = 150}, 10, 150);
        row("photograph", {.content = Content::photo}, 1, 200);
        row("smooth gradient", {.content = Content::shaded}, 1, 200);
        row("steps longer than the region", {}, 200, 900);
        row("one pixel at a time", {.size = {300, 200}, .pageHeight = 330, .content = Content::text}, 1, 1);
    }

    void everyLineOnce()
    {
        QFETCH(Look, look);
        QFETCH(int, least);
        QFETCH(int, most);
        for (const quint32 seed : {1u, 2u}) {
            QRandomGenerator random(seed);
            const Run run(look, seed, 0, [&] { return random.bounded(least, most + 1); });
            QVERIFY2(run.wrong.isEmpty(), qPrintable(u"seed %1: %2"_s.arg(seed).arg(run.wrong)));
            QVERIFY(!run.stuck);
        }
    }

    // Looks and steps by chance, also back and above the start; whatever was joined must be right.
    void anyPage()
    {
        QList<std::pair<quint32, bool>> runs; // the latter: with what loads, sticks and lights up
        for (const quint32 seed : {117, 136, 385, 1059, 1157, 1364, 1525, 1658, 2045, 2076, 4156, 4189, 5239, 5377,
                                   7246, 8159, 8297, 10265, 3051}) // have found faults
            runs.append({seed, false});
        for (const quint32 seed : {176, 30485})
            runs.append({seed, true});
        for (quint32 seed = 1; seed <= 12; ++seed)
            runs << std::pair(seed, false) << std::pair(seed, true);
        for (const auto &[seed, isLively] : std::as_const(runs)) {
            QRandomGenerator random(seed);
            const auto oneIn = [&random](int n) { return random.bounded(n) == 0; };
            Look look;
            look.content = Content(random.bounded(int(Content::cards) + 1));
            look.size = QSize(random.bounded(200, 500), oneIn(8) ? random.bounded(30, 200) : random.bounded(200, 360));
            look.pageHeight = 1200;
            look.header = oneIn(3) ? std::min(random.bounded(12, 60), look.size.height() / 3) : 0;
            look.footer = oneIn(3) ? std::min(random.bounded(12, 40), look.size.height() / 3) : 0;
            look.footerCounts = oneIn(2);
            look.scrollBar = oneIn(3) ? 12 : 0;
            look.caret = oneIn(3);
            look.animation = oneIn(4);
            look.blankRows = oneIn(4) ? random.bounded(60, 500) : 0;
            look.blankFrom = random.bounded(200, 800);
            if (isLively) {
                const bool repeats = look.content == Content::alike || look.content == Content::cards;
                // What sticks must not be all that tells the place, nor most of what is seen.
                look.blankRows = 0;
                look.sidebar = oneIn(2) && !repeats && look.size.width() >= 360 ? random.bounded(90, 120) : 0;
                look.sidebarSticks = oneIn(2) ? random.bounded(400) : 0;
                look.headerFrom = oneIn(2) ? random.bounded(100, 500) : 0;
                look.hover = oneIn(4);
                look.lateFrom = random.bounded(50, 900);
                look.lateRows = look.hover ? 0 : random.bounded(20, 200);
                look.lateGrows = oneIn(2) && look.lateRows > 0;
                look.loadsAt = random.bounded(2, 40);
            }
            int steps = 0;
            const Run run(look, seed, random.bounded(100),
                          [&] { return ++steps < 40 ? random.bounded(-120, 200) : 90; });
            QVERIFY2(run.wrong.isEmpty(),
                     qPrintable(u"seed %1%2: %3"_s.arg(seed).arg(isLively ? u", lively"_s : QString()).arg(run.wrong)));
        }
    }

    // What the page shows and where it goes decides what a step is.
    void steps_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<QList<int>>("offsets");
        QTest::addColumn<QList<Step>>("steps"); // after the first
        const auto row = [](const char *name, const Look &look, const QList<int> &offsets, const QList<Step> &steps) {
            QTest::newRow(name) << look << offsets << steps;
        };
        const Look text{.content = Content::text}, alike{.content = Content::alike};
        row("stands, a caret blinks", {.content = Content::text, .caret = true}, {0, 0, 0}, {Step::still, Step::still});
        row("animation goes on", {.animation = true}, {100, 100}, {Step::renewed});
        row("and in a low region", {.size = {480, 72}, .animation = true}, {60, 60}, {Step::renewed});
        row("longer than the region", text, {0, 400, 100}, {Step::lost, Step::joined});
        row("rows alike", alike, {0, 60, 24}, {Step::ambiguous, Step::ambiguous});
        row("a block over and over", {.content = Content::cards}, {0, 140, 30}, {Step::ambiguous, Step::ambiguous});
        row("a block over and over, a caret in what leaves", {.content = Content::cards, .caret = true}, {140, 30},
            {Step::ambiguous});
        row("losses that differ at every place", {.content = Content::text, .isEncoded = true}, {0, 60, 123, 57},
            {Step::lost, Step::lost, Step::lost});
        row("blank", {.blankRows = 2400}, {0, 60}, {Step::ambiguous});
        row("blank under a header that is known",
            {.content = Content::text, .header = 40, .blankFrom = 300, .blankRows = 900}, {0, 60, 330, 480},
            {Step::joined, Step::lost, Step::lost});
        row("one pixel, two thirds of the region", text, {0, 1, 211}, {Step::joined, Step::joined});
        row("a browser's click in a low region", {.size = {600, 170}, .content = Content::text}, {500, 600, 700},
            {Step::joined, Step::joined});
    }

    void steps()
    {
        QFETCH(Look, look);
        QFETCH(QList<int>, offsets);
        QFETCH(QList<Step>, steps);
        ScrollScene scene(look, 1);
        Stitcher stitcher(look.size, [](const QImage &) { return true; });
        QCOMPARE(stitcher.add(scene.frame(offsets.takeFirst())), Step::first);
        for (const int offset : std::as_const(offsets))
            QCOMPARE(stitcher.add(scene.frame(offset)), steps.takeFirst());
    }

    // The sign that a movement is over, whatever does not go along.
    void arrivals()
    {
        ScrollScene scene({.header = 40, .scrollBar = 14, .sidebar = 60, .caret = true}, 1);
        Stitcher stitcher({480, 320}, [](const QImage &) { return true; });
        for (const int offset : {0, 60, 123})
            stitcher.add(scene.frame(offset));
        const QImage frame = scene.frame(240);
        for (const auto &[shift, isThere] : {std::pair(117, true), {116, true}, {114, false}, {0, false}})
            QCOMPARE(stitcher.hasMovedBy(shift, frame), isThere);
        Stitcher fresh({480, 320}, [](const QImage &) { return true; }); // which knows of nothing that moves
        fresh.add(scene.frame(0));
        QVERIFY(!fresh.hasMovedBy(0, scene.frame(60)));
    }

    // What is taken for granted before it has loaded: the picture shows the page as it is in the end.
    void whatLoadsLate_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<QList<int>>("before");
        QTest::addColumn<QList<int>>("after");
        QTest::addColumn<QList<Step>>("steps"); // the latter's
        const Look fills{.content = Content::text, .lateFrom = 400, .lateRows = 100};
        const Look grows{.content = Content::text, .lateFrom = 450, .lateRows = 150, .lateGrows = true};
        const auto row = [](const char *name, const Look &look, const QList<int> &before, const QList<int> &after,
                            const QList<Step> &steps) { QTest::newRow(name) << look << before << after << steps; };
        row("fills its room in view", fills, {0, 180}, {300, 480}, {Step::joined, Step::joined});
        row("fills its room while all stands", fills, {0, 180, 300}, {300, 480}, {Step::renewed, Step::joined});
        row("fills its room, half of it gone", fills, {0, 180, 300}, {430, 300, 430},
            {Step::doubtful, Step::renewed, Step::joined});
        row("grows while all stands", grows, {0, 180, 300}, {300, 420}, {Step::renewed, Step::joined});
        row("grows and pushes back what was seen", grows, {0, 180, 300}, {400, 300, 400},
            {Step::doubtful, Step::renewed, Step::joined});
    }

    void whatLoadsLate()
    {
        QFETCH(Look, look);
        QFETCH(QList<int>, before);
        QFETCH(QList<int>, after);
        QFETCH(QList<Step>, steps);
        ScrollScene scene(look, 1);
        QList<QImage> parts;
        Stitcher stitcher(look.size, [&parts](const QImage &rows) { return parts.append(rows.copy()), true; });
        for (const int offset : std::as_const(before))
            stitcher.add(scene.frame(offset), Heading::forward);
        scene.load();
        for (int last = before.last(); const int offset : std::as_const(after)) {
            QCOMPARE(stitcher.add(scene.frame(offset), offset < last ? Heading::any : Heading::forward),
                     steps.takeFirst());
            last = offset;
        }
        QImage picture(look.size.width(), stitcher.height(), QImage::Format_RGB32);
        QVERIFY(stitcher.finish());
        QPainter painter(&picture);
        for (int y = 0; const QImage &part : std::as_const(parts)) {
            painter.drawImage(0, y, part);
            y += part.height();
        }
        painter.end();
        QCOMPARE(scene.difference(picture, 0, after.last()), QString());
    }

    // As a list does with the row under the pointer, when that comes to rest on the next one.
    void rowsThatLightUpAreNoMovement()
    {
        const QImage plain = ScrollScene({.content = Content::text}, 1).frame(500);
        Stitcher stitcher(plain.size(), [](const QImage &) { return true; });
        QCOMPARE(stitcher.add(plain), Step::first);
        for (const int y : {96, 120}) {
            QImage lit = plain.copy();
            QPainter painter(&lit);
            painter.setCompositionMode(QPainter::CompositionMode_Multiply);
            painter.fillRect(0, y, lit.width(), 24, QColor(236, 236, 236));
            painter.end();
            QCOMPARE(stitcher.add(lit), Step::renewed);
        }
    }

    // It is no column that has begun to stick.
    void aScrollBarComesAndGoesOverThePage()
    {
        ScrollScene scene({.content = Content::photo}, 1);
        Stitcher stitcher({480, 320}, [](const QImage &) { return true; });
        stitcher.add(scene.frame(0));
        for (const int offset : {100, 200, 290, 380}) {
            QImage frame = scene.frame(offset);
            if (offset % 100 != 0)
                Edge{.thumb = 40, .hasTrack = false}.draw(frame, offset);
            QCOMPARE(stitcher.add(frame, Heading::forward), Step::joined);
        }
    }

    // It is wider than a bar, and a part of the page.
    void aPictureAtTheEdgeLoadsLate()
    {
        ScrollScene scene({.size = {1000, 320}, .content = Content::photo}, 1);
        Stitcher stitcher({1000, 320}, [](const QImage &) { return true; });
        for (const int offset : {0, 100, 200})
            stitcher.add(scene.frame(offset), Heading::forward);
        QImage frame = scene.frame(300);
        QPainter(&frame).fillRect(940, -50, 60, 150, Qt::gray);
        QCOMPARE(stitcher.add(frame, Heading::forward), Step::doubtful);
    }

    // Whatever else shows where the bar was, nothing of it is cut off.
    void takes_data()
    {
        QTest::addColumn<QRect>("beside"); // painted over the frames below `from`
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("width"); // of the picture
        QTest::newRow("a bar") << QRect() << 0 << 466;
        QTest::newRow("a button at the end is off") << QRect(467, 306, 13, 14) << 1480 << 466;
        QTest::newRow("a wide footer") << QRect(0, 280, 480, 40) << 1480 << 480;
        QTest::newRow("something comes into view") << QRect(460, 100, 20, 20) << 1000 << 480;
        QTest::newRow("and is gone again") << QRect(460, 100, 20, 20) << -2 << 480;
    }

    void takes()
    {
        QFETCH(QRect, beside);
        QFETCH(int, from);
        QFETCH(int, width);
        ScrollScene scene({.content = Content::text, .scrollBar = 14}, 1);
        QTemporaryDir folder;
        Take take({.path = folder.filePath(u"a.png"_s), .frame = {480, 320}, .heightLimit = 9000});
        QImage last;
        for (int offset = 0; offset <= scene.lastOffset(); offset += 148) {
            last = scene.frame(offset);
            if (from < 0 ? offset == 740 : offset >= from)
                QPainter(&last).fillRect(beside, Qt::darkGreen);
            QCOMPARE(take.join(last, Heading::forward), offset ? Step::joined : Step::first);
            take.write(QDeadlineTimer(QDeadlineTimer::Forever));
            if (!beside.isNull())
                continue;
            QTemporaryDir left; // by a process that is killed
            for (const QString &name : QDir(folder.path()).entryList(QDir::Files | QDir::Hidden))
                QVERIFY(QFile::copy(folder.filePath(name), left.filePath(name)));
            const QStringList pictures = UnfinishedPictures::complete(left.path());
            QCOMPARE(pictures.size(), 1);
            QVERIFY(QImage(pictures.first()).height() >= 320);
            const bool isDecided = take.bar().has_value();
            QCOMPARE(QImage(pictures.first()).width(), isDecided ? width : 480);
            QCOMPARE(QDir(left.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
        }
        QVERIFY(take.finish());
        const QImage picture(folder.filePath(u"a.png"_s));
        QCOMPARE(picture.size(), QSize(width, take.height()));
        QCOMPARE(picture.copy(0, picture.height() - 320, width, 320).convertToFormat(QImage::Format_RGB32),
                 last.copy(0, 0, width, 320));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList(u"a.png"_s));
    }

    // There is room for neither of the two files then: what was kept has the bar.
    void aFullDiskWhileABarIsCut()
    {
        ScrollScene scene({.content = Content::text, .scrollBar = 14}, 1);
        QTemporaryDir folder;
        const QString path = folder.filePath(u"a.png"_s);
        Take take({.path = path, .frame = {480, 320}, .heightLimit = 9000});
        for (int offset = 0; offset <= scene.lastOffset(); offset += 148) {
            QCOMPARE(take.join(scene.frame(offset), Heading::forward), offset ? Step::joined : Step::first);
            take.write(QDeadlineTimer(QDeadlineTimer::Forever));
        }
        QVERIFY(take.bar() && take.bar()->width() > 0);
        const FullDisk full(rlim_t(QFileInfo(folder.filePath(u".a.png.unfinished"_s)).size()));
        QCOMPARE(take.finish().reason(), qt_error_string(EFBIG));
        const QImage picture(path);
        QCOMPARE(picture.size(), QSize(480, take.height()));
        QCOMPARE(picture.copy(0, 0, 480, 320).convertToFormat(QImage::Format_RGB32), scene.frame(0));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList(u"a.png"_s));
    }

    // A bar is left out only where nothing else would be.
    void scrollBars_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<Edge>("edge");
        QTest::addColumn<int>("width");
        const auto row = [](const char *name, const Edge &edge, int width, const Look &look = {}) {
            QTest::newRow(name) << look << edge << width;
        };
        row("a bar", {}, 15);
        row("beside what goes to the edge", {}, 15, {.content = Content::photo});
        row("with buttons, one of them off at first", {.buttons = 14}, 15);
        row("filled by its thumb", {.inset = 0, .buttons = 14}, 15);
        row("twice as fine", {.width = 30, .inset = 6}, 30);
        row("seen on the way back", {.places = {400, 200, 60}}, 15);
        row("on a very long page", {.way = 0.04}, 15);

        row("over the page, without a track", {.hasTrack = false}, 0);
        row("seen at two places", {.places = {0, 400}}, 0);
        row("looked at again, and hardly further", {.places = {0, 4, 8, 400}}, 0);
        row("a border", {.thumb = 0}, 0);
        row("wider than bars are", {.width = 45}, 0);
        row("a column that shows how far the page is read", {.grows = true}, 0);
        row("a mark that goes further than a thumb of its length", {.thumb = 12}, 0);
        row("a narrow mark on a stripe", {.inset = 5}, 0);
        row("a mark that goes along with the page", {.thumb = 200, .way = 1, .places = {0, 20, 50, 90}}, 0);
        row("a mark that goes backwards", {.way = -0.1, .buttons = 44}, 0);
        row("the bar of a frame within", {.right = 9}, 0);
        row("under a title", {.top = 24}, 0);
        row("pieces at its ends as high as headers", {.buttons = 50}, 0);
        row("equal rows", {.width = 0}, 0, {.content = Content::alike});
        row("a blank margin", {.width = 0}, 0, {.content = Content::shaded});
        row("a map of the page", {.lines = 40}, 0);
    }

    void scrollBars()
    {
        QFETCH(Look, look);
        QFETCH(Edge, edge);
        QFETCH(int, width);
        ScrollScene scene(look, 1);
        ScrollBar bar;
        for (const int at : std::as_const(edge.places)) {
            QImage frame = scene.frame(at);
            edge.draw(frame, at);
            bar.see(frame, at);
        }
        QCOMPARE(bar.width(), width);
    }

    // Servers leave the fourth byte as whoever has painted there.
    void whatIsNoColourDoesNotCount()
    {
        const QImage frame = ScrollScene({.content = Content::text}, 1).frame(0);
        QImage other = frame.copy();
        reinterpret_cast<QRgb *>(other.scanLine(20))[7] ^= 0xff000000;
        QVERIFY(!differs(frame, other));
        QVERIFY(hashRows(frame) == hashRows(other));
        reinterpret_cast<QRgb *>(other.scanLine(20))[7] ^= 1;
        QVERIFY(differs(frame, other));
    }

    // Where a browser is busy, the region keeps what the overlay has shown there last.
    void leftoversOfTheOverlay()
    {
        const QImage before = ScrollScene({.content = Content::text}, 1).frame(0);
        const QRect drawn(0, 0, before.width() * 3 / 4, before.height() * 3 / 4);
        QImage left = before.copy();
        for (int y = 0; y < left.height(); ++y)
            dim(reinterpret_cast<quint32 *>(left.scanLine(y)),
                reinterpret_cast<const quint32 *>(before.constScanLine(y)), size_t(left.width()));
        QPainter painter(&left);
        painter.drawImage(drawn, before, drawn);
        painter.setPen(Qt::white);
        painter.drawRect(drawn);
        painter.end();
        QVERIFY(isPartlyDimmed(left, before));
        for (const int at : {0, 57})
            QVERIFY(!isPartlyDimmed(ScrollScene({.content = Content::text}, 1).frame(at), before));
    }

    void failures()
    {
        ScrollScene scene({.content = Content::text}, 1);
        int calls = 0;
        Stitcher stitcher({480, 320}, [&calls](const QImage &) { return ++calls < 2; });
        int offset = 0;
        Step step = Step::first;
        while (step != Step::failed && offset < scene.lastOffset())
            step = stitcher.add(scene.frame(offset += 50));
        QCOMPARE(stitcher.add(scene.frame(offset)), Step::failed);
        QVERIFY(!stitcher.finish());
        QCOMPARE(calls, 2);
        Stitcher other({480, 321}, [](const QImage &) { return true; });
        QCOMPARE(other.add(scene.frame(0)), Step::failed);
        QVERIFY(!other.finish());
    }
};

QTEST_MAIN(tst_Stitcher)
#include "tst_Stitcher.moc"
