// The session against views that only exist as numbers: how far a wheel click goes, how late and how slowly it shows.

#include "helpers/qmscroll/ScrollSession.h"

#include <QTest>

#include <algorithm>
#include <functional>
#include <vector>

using namespace qm;
using namespace std::chrono_literals;
using Milliseconds = ScrollSession::Milliseconds;
using Order = ScrollSession::Order;
using End = ScrollSession::End;
using Mode = ScrollSession::Mode;
using Notice = ScrollSession::Notice;
using Pointer = ScrollSession::Pointer;
using Step = Stitcher::Step;

namespace {

constexpr int region = 600; // pixels of height

struct View {
    double pixelsPerClick = 57;
    int page = 6000;              // pixels of height
    Milliseconds answer = 2ms;    // from a click to the first movement
    Milliseconds smooth = 0ms;    // how long a movement takes
    Milliseconds picture = 1ms;   // from one of its pictures to the next
    Milliseconds animation = 0ms; // something small changes that often; 0: nothing does
    int blankFrom = 0;            // where only steps up to 60 pixels can be joined, and how far
    int blankHeight = 0;
    bool springsBack = false;
    int stallsAt = 0;      // once it is this far down, one click is answered after 450 ms; 0: none
    int changesAt = 0;     // once it is this far down, nothing matches what was there before; 0: never
    bool goesAway = false; // and it does not move any more
};

// What the user does, and when.
struct Event {
    Milliseconds at;
    std::function<void(ScrollSession &, class Simulation &)> act;
};

struct Case {
    View view;
    std::vector<Event> events = {};
    Mode mode = Mode::automatic;
    int heightLimit = 30'000;
};

class Simulation
{
public:
    explicit Simulation(const Case &of)
        : m_case(of)
        , m_session({.mode = of.mode, .regionHeight = region, .heightLimit = of.heightLimit})
    {
    }

    void run()
    {
        size_t nextEvent = 0;
        for (Milliseconds look = 0ms; now < 300s;) {
            for (; nextEvent < m_case.events.size() && m_case.events[nextEvent].at <= look; ++nextEvent)
                m_case.events[nextEvent].act(m_session, *this);
            now = look;
            Order order = m_session.look(now, sight());
            notice = m_session.notice();
            if (order.kind == Order::Kind::join)
                order = join();
            if (order.kind == Order::Kind::end)
                break;
            if (order.kind == Order::Kind::scroll) {
                clicks.push_back({now, order.clicks});
                move(order.clicks * m_case.view.pixelsPerClick);
            }
            look = now + std::max<Milliseconds>(order.wait, 1ms);
        }
        end = m_session.end();
    }

    // The wheel turned, by whomever.
    void move(double by)
    {
        m_from = position(now);
        if (m_case.view.goesAway && m_from >= m_case.view.changesAt)
            return;
        m_to = std::clamp(m_to + by, 0.0, double(m_case.view.page - region));
        m_moved = now;
        if (m_stalled < 0ms && m_case.view.stallsAt && m_from >= m_case.view.stallsAt)
            m_stalled = now;
        if (m_case.view.springsBack && m_to > 1000)
            m_to -= 400;
    }

    struct Clicks {
        Milliseconds at;
        int count;
    };
    Pointer pointer = Pointer::inside;
    bool held = false;
    Milliseconds now{0};
    End end = End::open;
    Notice notice = Notice::none;
    std::vector<Clicks> clicks;
    std::vector<int> joins; // positions of the frames that were joined
    int furthest = 0;       // of these
    int lastMove = 0;       // where the view is heading
    bool moving = false;    // a frame was joined in the middle of a movement

private:
    int position(Milliseconds at) const
    {
        const View &view = m_case.view;
        const Milliseconds since =
            (at - m_moved - (m_stalled == m_moved ? 450ms : view.answer)) / view.picture * view.picture;
        if (at - m_moved < (m_stalled == m_moved ? 450ms : view.answer))
            return int(m_from);
        const double share =
            m_case.view.smooth == 0ms ? 1 : std::min(1.0, double(since / 1ms) / (m_case.view.smooth / 1ms));
        return int(m_from + (m_to - m_from) * share);
    }
    int animationPhase() const { return m_case.view.animation == 0ms ? 0 : int(now / m_case.view.animation); }

    ScrollSession::Sight sight()
    {
        ScrollSession::Sight sight;
        const std::pair frame(position(now), animationPhase());
        sight.changed = frame != m_frame;
        m_frame = frame;
        sight.fresh = frame != m_joined;
        sight.pointer = pointer;
        sight.held = held;
        return sight;
    }

    Order join()
    {
        const View &view = m_case.view;
        const int at = position(now);
        const bool isFirst = joins.empty();
        m_joined = m_frame;
        const int shift = at - m_at;
        Step step = Step::joined;
        if (isFirst)
            step = Step::first;
        else if (shift == 0)
            step = Step::still;
        else if (std::abs(shift) > region * 4 / 5 || (view.changesAt && at >= view.changesAt && m_at < view.changesAt))
            step = Step::lost;
        else if (std::abs(shift) > 60 && at + region > view.blankFrom && at < view.blankFrom + view.blankHeight)
            step = Step::ambiguous;
        if (step == Step::first || step == Step::joined) {
            moving |= at != int(m_to) && m_case.mode == Mode::automatic;
            joins.push_back(at);
            furthest = std::max(furthest, at);
            m_at = at;
        }
        return m_session.joined(now, step, shift, region + furthest);
    }

    const Case &m_case;
    ScrollSession m_session;
    double m_from = 0, m_to = 0;
    Milliseconds m_moved{-10'000};
    Milliseconds m_stalled{-1}; // the click that is answered late; negative: still to come
    std::pair<int, int> m_frame{-1, 0}, m_joined{-1, 0};
    int m_at = 0; // the stitcher's place
};

constexpr auto wheel = [](double pixels) {
    return [pixels](ScrollSession &, Simulation &simulation) { simulation.move(pixels); };
};
constexpr auto point = [](Pointer at) {
    return [at](ScrollSession &, Simulation &simulation) { simulation.pointer = at; };
};
const auto finish = [](ScrollSession &session, Simulation &) { session.finish(); };
const auto escape = [](ScrollSession &session, Simulation &) { session.finishOrCancel(); };
const auto cancel = [](ScrollSession &session, Simulation &) { session.cancel(); };

} // namespace

Q_DECLARE_METATYPE(Case)

class tst_ScrollSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void views_data();
    void views();
    void pauses_data();
    void pauses();
    void stepsFollowTheView();
    void whatWasLostIsLookedForAgain();
    void theUserScrolls();
    void aWishIsHeeded_data();
    void aWishIsHeeded();
};

void tst_ScrollSession::views_data()
{
    QTest::addColumn<Case>("of");
    QTest::addColumn<End>("end");
    QTest::addColumn<int>("furthest");
    QTest::addColumn<int>("milliseconds"); // at most
    const auto row = [](const char *name, const Case &of, End end, int furthest, int milliseconds) {
        QTest::newRow(name) << of << end << furthest << milliseconds;
    };
    const auto whole = [](const View &view) { return view.page - region; };
    View view;
    row("plain", {view}, End::content, whole(view), 2500);
    view = {.page = region};
    row("nothing to scroll", {view}, End::content, 0, 1600);
    view = {.page = region + 20};
    row("less than a click to scroll", {view}, End::content, 20, 1300);
    view = {.pixelsPerClick = 120, .smooth = 200ms};
    row("smooth", {view}, End::content, whole(view), 8000);
    view = {.pixelsPerClick = 120, .smooth = 200ms, .picture = 30ms};
    row("smooth, on a slow machine", {view}, End::content, whole(view), 8000);
    view = {.stallsAt = 2000};
    row("stalls once", {view}, End::content, whole(view), 2700);
    view = {.pixelsPerClick = 54.5, .answer = 30ms, .smooth = 90ms};
    row("a fraction of a pixel", {view}, End::content, whole(view), 6500);
    view = {.answer = 300ms};
    row("slow to answer", {view}, End::content, whole(view), 11'000);
    view = {.pixelsPerClick = 2};
    row("hardly moves", {view}, End::content, whole(view), 2700);
    view = {.pixelsPerClick = 470};
    row("one click is most of the region", {view}, End::content, whole(view), 2000);
    view = {.animation = 500ms};
    row("a caret", {view}, End::content, whole(view), 2500);
    view = {.animation = 5ms};
    row("a movie", {view}, End::content, whole(view), 21'000);
    view = {.answer = 250ms, .animation = 90ms};
    row("slow, with a movie", {view}, End::content, whole(view), 11'000);
    view = {.blankFrom = 2000, .blankHeight = 700};
    row("alike for a while: smaller steps", {view}, End::content, whole(view), 5500);
    view = {.page = 100'000};
    row("the height limit", {view, {}, Mode::automatic, 5000}, End::height, -1, 1500);
    view = {.springsBack = true};
    row("springs back", {view}, End::content, -1, 1500);
    view = {.pixelsPerClick = 90, .blankFrom = 2000, .blankHeight = 700};
    row("alike at every step", {view}, End::ambiguous, -1, 1200);
    view = {.pixelsPerClick = 500};
    row("one click is too much", {view}, End::lost, 0, 900);
    view = {.pixelsPerClick = 500, .smooth = 200ms, .picture = 16ms};
    row("one click is too much, but shows its way", {view}, End::content, whole(view), 5000);
    view = {.pixelsPerClick = 120, .smooth = 200ms, .picture = 16ms, .blankFrom = 2000, .blankHeight = 700};
    row("alike, but shows its way", {view}, End::content, whole(view), 12'000);
    view = {.changesAt = 3000};
    row("changes under way", {view}, End::lost, -1, 1500);
    view = {.changesAt = 3000, .goesAway = true};
    row("goes away", {view}, End::lost, -1, 2000);
}

void tst_ScrollSession::views()
{
    QFETCH(Case, of);
    QFETCH(End, end);
    QFETCH(int, furthest);
    QFETCH(int, milliseconds);
    Simulation simulation(of);
    simulation.run();
    QCOMPARE(int(simulation.end), int(end));
    if (furthest >= 0)
        QCOMPARE(simulation.furthest, furthest);
    if (end == End::height)
        QVERIFY(region + simulation.furthest >= of.heightLimit &&
                region + simulation.furthest < of.heightLimit + region);
    if (of.view.animation == 0ms && of.view.picture != 16ms)
        QVERIFY(!simulation.moving);
    QVERIFY2(simulation.now <= Milliseconds(milliseconds),
             QByteArray::number(qint64(simulation.now / 1ms)).constData());
}

void tst_ScrollSession::pauses_data()
{
    QTest::addColumn<Pointer>("pointer");
    QTest::addColumn<bool>("held");
    QTest::addColumn<Notice>("notice");
    QTest::newRow("pointer elsewhere") << Pointer::away << false << Notice::pointerAway;
    QTest::newRow("pointer over the panel") << Pointer::overPanel << false << Notice::pointerOverPanel;
    QTest::newRow("a key is held") << Pointer::inside << true << Notice::keyHeld;
}

// No click falls into the pause, what the user scrolled meanwhile is joined, and then it goes on to the end.
void tst_ScrollSession::pauses()
{
    QFETCH(Pointer, pointer);
    QFETCH(bool, held);
    QFETCH(Notice, notice);
    const auto begin = [&](ScrollSession &, Simulation &simulation) {
        simulation.pointer = pointer;
        simulation.held = held;
    };
    Notice seen = Notice::none;
    const auto askAndScroll = [&](ScrollSession &session, Simulation &simulation) {
        seen = session.notice();
        simulation.move(200);
    };
    const auto over = [](ScrollSession &, Simulation &simulation) {
        simulation.pointer = Pointer::inside;
        simulation.held = false;
    };
    const Case of{{}, {{400ms, begin}, {1200ms, askAndScroll}, {2000ms, over}}};
    Simulation simulation(of);
    simulation.run();
    QCOMPARE(int(seen), int(notice));
    QCOMPARE(int(simulation.end), int(End::content));
    QCOMPARE(simulation.furthest, of.view.page - region);
    for (const Simulation::Clicks &clicks : simulation.clicks)
        QVERIFY(clicks.count > 0 && (clicks.at < 400ms || clicks.at > 2000ms));
    QVERIFY(simulation.now > 2200ms);
}

void tst_ScrollSession::stepsFollowTheView()
{
    for (const double pixelsPerClick : {4.0, 57.0, 120.0, 200.0}) {
        const Case of{{.pixelsPerClick = pixelsPerClick, .page = 20'000}};
        Simulation simulation(of);
        simulation.run();
        QCOMPARE(simulation.clicks.front().count, 1); // nothing is known yet
        int largest = 0;
        for (size_t i = 1; i < simulation.joins.size(); ++i)
            largest = std::max(largest, simulation.joins[i] - simulation.joins[i - 1]);
        QVERIFY2(largest < region / 2 && largest > region / 4, QByteArray::number(largest).constData());
    }
}

// A step of several clicks is taken back as it was made, and made smaller.
void tst_ScrollSession::whatWasLostIsLookedForAgain()
{
    ScrollSession session({.mode = Mode::automatic, .regionHeight = region, .heightLimit = 30'000});
    Milliseconds now{0};
    // Looks until something is to be done; the view answers each click at once.
    const auto next = [&](bool fresh) {
        for (bool changed = fresh;; changed = false) {
            const Order order = session.look(now, {.changed = changed, .fresh = fresh});
            if (order.kind != Order::Kind::look)
                return order;
            now += order.wait;
        }
    };
    QCOMPARE(int(next(true).kind), int(Order::Kind::join));
    QCOMPARE(session.joined(now, Step::first, 0, region).clicks, 1);
    next(true);
    QCOMPARE(session.joined(now, Step::joined, 50, region + 50).clicks, 3);
    next(true);
    QCOMPARE(session.joined(now, Step::joined, 150, region + 200).clicks, 4);
    next(true);
    QCOMPARE(session.joined(now, Step::lost, 0, region + 200).clicks, -4);
    next(true);
    QCOMPARE(session.joined(now, Step::still, 0, region + 200).clicks, 2);
    next(true);
    QCOMPARE(session.joined(now, Step::ambiguous, 0, region + 200).clicks, -2);
    next(true);
    QCOMPARE(session.joined(now, Step::still, 0, region + 200).clicks, 1);
    // What was too much is tried again when smaller steps have gone well for a while.
    int good = 0;
    for (int clicks = 1; clicks == 1 && good < 20; ++good) {
        next(true);
        clicks = session.joined(now, Step::joined, 50, region + 250 + 50 * good).clicks;
    }
    QVERIFY2(good > 3 && good < 10, QByteArray::number(good).constData());
    QCOMPARE(int(session.end()), int(End::open));
}

void tst_ScrollSession::theUserScrolls()
{
    // Too far at 2 s, and back again.
    Notice lost = Notice::none;
    const auto ask = [&lost](ScrollSession &session, Simulation &) { lost = session.notice(); };
    const Case of{{.page = 3000, .smooth = 300ms},
                  {{1000ms, wheel(200)},
                   {2000ms, wheel(1500)},
                   {2900ms, ask},
                   {3000ms, wheel(-1300)},
                   {4000ms, wheel(400)},
                   {5000ms, finish}},
                  Mode::manual};
    Simulation simulation(of);
    simulation.run();
    QVERIFY(simulation.clicks.empty());
    QCOMPARE(int(lost), int(Notice::placeLost));
    QCOMPARE(int(simulation.notice), int(Notice::none));
    QCOMPARE(int(simulation.end), int(End::wish));
    QCOMPARE(simulation.furthest, 800);
    QVERIFY(simulation.now < 5700ms);
}

void tst_ScrollSession::aWishIsHeeded_data()
{
    QTest::addColumn<Case>("of");
    QTest::addColumn<End>("end");
    QTest::addColumn<bool>("hasFrames");
    const auto row = [](const char *name, const Case &of, End end, bool hasFrames) {
        QTest::newRow(name) << of << end << hasFrames;
    };
    const View slow{.answer = 100ms, .smooth = 200ms};
    row("done", {slow, {{1000ms, finish}}}, End::wish, true);
    row("done before the first frame", {slow, {{5ms, finish}}}, End::wish, true);
    row("done while it pauses", {slow, {{800ms, point(Pointer::overPanel)}, {1000ms, finish}}}, End::wish, true);
    row("done with a movie", {{.animation = 5ms}, {{1000ms, finish}}}, End::wish, true);
    row("done by hand", {slow, {{1000ms, finish}}, Mode::manual}, End::wish, true);
    row("Escape", {slow, {{1000ms, escape}}}, End::wish, true);
    row("Escape during the first step", {slow, {{420ms, escape}}}, End::wish, true);
    row("Escape with nothing to scroll", {{.page = region}, {{700ms, escape}}}, End::cancelled, true);
    row("Escape before the first frame", {slow, {{5ms, escape}}}, End::cancelled, false);
    row("cancelled", {slow, {{1000ms, cancel}}}, End::cancelled, true);
    row("cancelled at once", {slow, {{0ms, cancel}}}, End::cancelled, false);
}

void tst_ScrollSession::aWishIsHeeded()
{
    QFETCH(Case, of);
    QFETCH(End, end);
    QFETCH(bool, hasFrames);
    Simulation simulation(of);
    simulation.run();
    QCOMPARE(int(simulation.end), int(end));
    QCOMPARE(!simulation.joins.empty(), hasFrames);
    QVERIFY(simulation.now <= 1650ms);
    if (end == End::wish && of.view.animation == 0ms)
        QVERIFY(!simulation.moving); // what was under way came in
}

QTEST_APPLESS_MAIN(tst_ScrollSession)
#include "tst_ScrollSession.moc"
