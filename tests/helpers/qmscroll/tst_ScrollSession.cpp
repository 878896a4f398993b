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
constexpr int heightLimit = 8000;
constexpr int allOfIt = -1, somewhere = -2, nowhere = -3;

struct View {
    double pixelsPerClick = 57;
    int page = 6000;              // pixels of height
    Milliseconds answer = 2ms;    // from a click to the first movement
    Milliseconds turning = 0ms;   // the wheel by one click, before it answers
    Milliseconds smooth = 0ms;    // how long a movement takes
    Milliseconds picture = 1ms;   // from one of its pictures to the next
    Milliseconds painting = 0ms;  // and for how long what has come into view still changes
    Milliseconds animation = 0ms; // something small changes that often; 0: nothing does
    bool isAside = false;         // at the right edge
    bool isWide = false;          // so that a frame shows what is new, though it has not moved
    int blankFrom = 0;            // where, for 700 pixels, only steps up to 60 can be joined; 0: nowhere
    bool isPaintedLate = false;   // it only was not painted, and is when it is taken again
    bool springsBack = false;
    int stallsAt = 0; // once it is this far down, no click is answered for a while; 0: never
    Milliseconds stall = 450ms;
    int pausesAt = 0;       // once it is this far down, a movement stands still for 60 ms on its way; 0: none
    int changesAt = 0;      // once it is this far down, nothing matches what was there before; 0: never
    bool settles = false;   // but not when it is taken again
    bool goesAway = false;  // and it does not move any more
    int growsAt = 0;        // there 300 pixels appear when it has left the view, which stays where it is; 0: nowhere
    int fillsAt = 0;        // there 100 pixels change when they have left the view; 0: nowhere
    bool isDeaf = false;    // only the user's wheel moves it
    bool sticks = false;    // once it is to be taken again
    int losesIn = 0;        // two clicks are lost of the so-many-th turn by more than ten; 0: none
    bool beginsLow = false; // what is further up was not in the region at first
    int loads = 0;          // so often more appears at its end, this long after it was reached
    int more = 900;         // pixels
    Milliseconds loading = 500ms;
    Milliseconds sign = 0ms;         // that it does; 0: none but what it has loaded
    bool isSilent = false;           // without a sign
    bool isImpatient = false;        // only while its end is in view
    Milliseconds answerToMany = 0ms; // from clicks by more than 700 pixels to the first movement; 0: as to others
    int losesAt = 0;                 // once it is this far down, one step goes two clicks less far; 0: none
};

// What the user does, and when.
struct Event {
    Milliseconds at;
    std::function<void(ScrollSession &, class Simulation &)> act;
};

struct Case {
    View view = {};
    std::vector<Event> events = {};
    Mode mode = Mode::automatic;
    End end = End::content;
    int furthest = allOfIt;
    int milliseconds = 0; // at most
    Notice notice = Notice::none;
};

class Simulation
{
public:
    explicit Simulation(const Case &of)
        : view(of.view)
        , m_mode(of.mode)
        , m_session({.mode = of.mode, .regionHeight = region, .heightLimit = heightLimit})
    {
        auto event = of.events.begin();
        for (Milliseconds look = 0ms; now < 300s;) {
            for (; event != of.events.end() && event->at <= look; ++event)
                event->act(m_session, *this);
            now = look;
            Order order = m_session.look(now, sight());
            if (m_session.notice() != Notice::none)
                notice = m_session.notice();
            while (order.kind == Order::Kind::find)
                order = m_session.found(now, {find(), shown() == 0 && !view.beginsLow && !view.isAside});
            if (order.kind == Order::Kind::again)
                order = beginAgain();
            if (order.kind == Order::Kind::join)
                order = join(order);
            if (order.kind == Order::Kind::end)
                break;
            if (order.kind == Order::Kind::scroll)
                turn(order.clicks);
            look = now + std::max<Milliseconds>(order.wait, 1ms);
        }
        end = m_session.end();
        stale = m_session.mayBeStale();
    }

    // The wheel turned, by whomever.
    void move(double by)
    {
        m_from = position();
        if ((view.goesAway && m_from >= view.changesAt) || (view.sticks && m_isAgain))
            return;
        m_to = std::clamp(m_to + by, 0.0, double(page() - region));
        m_moved = now;
        if (!m_stallEnd && view.stallsAt && m_from >= view.stallsAt)
            m_stallEnd = now + view.stall;
        const bool isLong = view.answerToMany > 0ms && std::abs(by) > 700;
        m_answer = std::max(isLong ? view.answerToMany : view.answer, m_stallEnd.value_or(now) - now);
        if (view.springsBack && m_to > 1000)
            m_to -= 400;
    }

    int page() const { return view.page + view.more * m_loads + m_grown; }

    const View view;
    Pointer pointer = Pointer::inside;
    bool held = false;
    Milliseconds now{0};
    End end = End::open;
    Notice notice = Notice::none; // the last there was
    bool isPatient = true;        // no click while something is in the way
    std::vector<int> joins;       // positions of the frames that were joined
    int furthest = nowhere;       // of these
    bool moving = false;          // a frame was joined in the middle of a movement
    bool stale = false;

private:
    void turn(int clicks)
    {
        isPatient &= pointer == Pointer::inside && !held && m_mode == Mode::automatic;
        now += std::abs(clicks) * view.turning;
        const bool isLossy = std::abs(clicks) > 10 && ++m_longTurns == view.losesIn;
        const bool isShort = view.losesAt && position() >= view.losesAt && !std::exchange(m_hasLost, true);
        move(view.isDeaf ? 0 : (clicks + (isLossy ? 2 : 0) - (isShort ? 2 : 0)) * view.pixelsPerClick);
        m_session.turned(now);
    }

    int position() const
    {
        if (now - m_moved < m_answer)
            return int(m_from);
        Milliseconds since = (now - m_moved - m_answer) / view.picture * view.picture;
        if (view.pausesAt && m_from >= view.pausesAt && m_from < view.pausesAt + region)
            since = std::max(std::min(since, 100ms), since - 60ms);
        const double share = view.smooth == 0ms ? 1 : std::min(1.0, double(since / 1ms) / (view.smooth / 1ms));
        return int(m_from + (m_to - m_from) * share);
    }

    // The row of the picture with which the region begins.
    int shown() const
    {
        const bool isHidden = position() >= view.growsAt && !m_isAgain;
        return position() - (isHidden ? m_grown : 0);
    }

    std::optional<int> find() const
    {
        const int from = position() + region / 3; // what is above may be a header
        const bool isNew =
            m_grown > 0 && !m_isAgain && position() > view.growsAt - region && from < view.growsAt + m_grown;
        const bool isBehind = shown() > furthest + region / 3; // less than half of what counts is in the picture
        const bool isElsewhere = view.beginsLow && shown() == 0;
        const bool isFilled =
            view.fillsAt && !m_isAgain && position() > view.fillsAt - region && from < view.fillsAt + 100;
        const bool isPainted =
            view.isPaintedLate && !m_isAgain && position() + 2 * region > view.blankFrom && from < view.blankFrom + 700;
        return isNew || isBehind || isElsewhere || isFilled || isPainted ? std::nullopt : std::optional(shown());
    }

    Order beginAgain()
    {
        m_isAgain = true;
        joins.clear();
        furthest = m_at = 0;
        return {Order::Kind::join};
    }

    void grow()
    {
        if (view.growsAt == 0 || m_grown > 0 || position() < view.growsAt + 2 * region)
            return;
        m_grown = 300;
        m_from += m_grown;
        m_to += m_grown;
    }

    bool isPainting() const { return now - m_moved < m_answer + view.smooth + view.painting; }

    void loadMore()
    {
        const bool atEnd = position() == page() - region && m_loads < view.loads;
        if (atEnd && !m_endReached)
            m_endReached = now;
        if (view.isImpatient && !atEnd)
            m_endReached.reset();
        m_hasSign |= view.sign > 0ms && m_endReached && now - *m_endReached >= view.sign;
        if (m_endReached && now - *m_endReached >= view.loading) {
            ++m_loads;
            m_endReached.reset();
        }
    }

    ScrollSession::Sight sight()
    {
        ScrollSession::Sight sight;
        loadMore();
        grow();
        const int moment = isPainting() && view.painting > 0ms ? int(now / 5ms)
                           : view.animation == 0ms             ? (view.isSilent ? 0 : m_loads + m_hasSign)
                                                               : int(now / view.animation);
        const std::pair frame(shown(), moment);
        sight.changed = frame != m_frame;
        sight.aside = sight.changed && view.isAside && frame.first == m_frame.first;
        m_frame = frame;
        sight.fresh = frame != m_joined;
        sight.arrived = shown() - m_at == m_session.expectedShift();
        sight.pointer = pointer;
        sight.held = held;
        return sight;
    }

    Order join(const Order &order)
    {
        const int at = shown(), shift = at - m_at;
        const bool isAnimated = view.isWide && m_joined.second != m_frame.second;
        m_joined = m_frame;
        const bool isNew =
            (std::exchange(m_joinedLoads, m_loads + m_hasSign) != m_loads + m_hasSign && !view.isSilent) || isAnimated;
        Step step = Step::joined;
        if (joins.empty())
            step = Step::first;
        else if (shift == 0)
            step = isNew ? Step::renewed : Step::still;
        else if (order.heading == Heading::forward && shift < 0)
            step = Step::doubtful;
        else if (std::abs(shift) > region * 4 / 5 ||
                 (view.changesAt && !(view.settles && m_isAgain) && at >= view.changesAt && m_at < view.changesAt))
            step = Step::lost;
        else if (view.blankFrom && !(view.isPaintedLate && m_isAgain) && std::abs(shift) > 60 &&
                 at + region > view.blankFrom && at < view.blankFrom + 700)
            step = Step::ambiguous;
        if (step == Step::first || step == Step::joined) {
            moving |= (position() != int(m_to) || (isPainting() && !view.isAside)) && m_mode == Mode::automatic;
            joins.push_back(at);
            furthest = std::max(furthest, at);
            m_at = at;
        }
        if (order.clicks != 0)
            turn(order.clicks);
        return m_session.joined(now, {step, shift, region + std::max(0, furthest), region});
    }

    const Mode m_mode;
    int m_longTurns = 0;
    int m_loads = 0, m_joinedLoads = 0, m_grown = 0;
    bool m_isAgain = false, m_hasLost = false, m_hasSign = false;
    std::optional<Milliseconds> m_endReached;
    ScrollSession m_session;
    double m_from = 0, m_to = 0;
    Milliseconds m_moved{-10'000}, m_answer{0};
    std::optional<Milliseconds> m_stallEnd;
    std::pair<int, int> m_frame{-1, 0}, m_joined{-1, 0};
    int m_at = 0; // the stitcher's place
};

// A view that answers at once and goes as far as expected.
class EvenView
{
public:
    explicit EvenView(int limit = 30'000)
        : session({.mode = Mode::automatic, .regionHeight = region, .heightLimit = limit})
    {
        next();
        joined(Step::first);
        while (next().clicks == 0 && height < limit)
            joined(Step::joined);
    }

    Order next(bool arrived = true)
    {
        for (bool changed = true;; changed = false) {
            const Order order = session.look(m_now, {.changed = changed, .fresh = true, .arrived = arrived});
            if (order.kind != Order::Kind::look) {
                m_ahead = order.clicks;
                return order;
            }
            m_now += order.wait;
        }
    }

    Order joined(Step step)
    {
        constexpr int pixelsPerClick = 60;
        if (m_ahead > 0)
            session.turned(m_now);
        const int shift = step == Step::joined ? m_clicks * pixelsPerClick : 0;
        height += shift;
        const Order order = session.joined(m_now, {step, shift, height, region, step == Step::renewed});
        m_clicks = m_ahead > 0 ? m_ahead : order.clicks;
        return order;
    }

    ScrollSession session;
    int height = region;

private:
    Milliseconds m_now{0};
    int m_clicks = 0, m_ahead = 0;
};

Event wheel(Milliseconds at, double pixels)
{
    return {at, [pixels](ScrollSession &, Simulation &simulation) { simulation.move(pixels); }};
}
Event point(Milliseconds at, Pointer pointer)
{
    return {at, [pointer](ScrollSession &, Simulation &simulation) { simulation.pointer = pointer; }};
}
Event hold(Milliseconds at, bool held)
{
    return {at, [held](ScrollSession &, Simulation &simulation) { simulation.held = held; }};
}
Event wish(Milliseconds at, void (ScrollSession::*what)())
{
    return {at, [what](ScrollSession &session, Simulation &) { (session.*what)(); }};
}

} // namespace

Q_DECLARE_METATYPE(Case)

class tst_ScrollSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ends_data()
    {
        QTest::addColumn<Case>("of");
        const auto row = [](const char *name, const Case &of) { QTest::newRow(name) << of; };
        row("plain", {.milliseconds = 3450});
        row("nothing to scroll", {.view = {.page = region}, .milliseconds = 8200, .notice = Notice::wheelDoesNothing});
        row("the user scrolls too far where the wheel does nothing",
            {.view = {.isDeaf = true},
             .events = {wheel(4000ms, 2000), wish(9000ms, &ScrollSession::finish)},
             .end = End::lost,
             .furthest = 0,
             .milliseconds = 9100,
             .notice = Notice::placeLost});
        row("less than a click to scroll", {.view = {.page = region + 20}, .milliseconds = 2600});
        row("smooth", {.view = {.pixelsPerClick = 120, .smooth = 200ms}, .milliseconds = 8000});
        row("more slowly", {.view = {.smooth = 400ms}, .milliseconds = 11'000});
        row("smooth, on a slow machine",
            {.view = {.pixelsPerClick = 120, .smooth = 200ms, .picture = 30ms}, .milliseconds = 8000});
        row("smooth, with a pause on its way",
            {.view = {.pixelsPerClick = 120, .smooth = 200ms, .pausesAt = 2000}, .milliseconds = 8000});
        row("and on its way back",
            {.view = {.smooth = 200ms, .blankFrom = 2000, .pausesAt = 1500}, .milliseconds = 20'500});
        row("stalls once", {.view = {.stallsAt = 2000}, .milliseconds = 4200});
        row("hangs for a while", {.view = {.stallsAt = 2000, .stall = 5000ms}, .milliseconds = 8500});
        row("hangs while it goes on painting a caret",
            {.view = {.animation = 500ms, .stallsAt = 2000, .stall = 5000ms}, .milliseconds = 9500});
        row("hangs at its end", {.view = {.stallsAt = 5400, .stall = 3000ms}, .milliseconds = 8500});
        row("hangs for good beside a caret", {.view = {.animation = 500ms, .stallsAt = 2000, .stall = 100'000ms},
                                              .end = End::unanswered,
                                              .furthest = somewhere,
                                              .milliseconds = 13'000});
        row("is done while it hangs", {.view = {.stallsAt = 2000, .stall = 100'000ms},
                                       .events = {wish(3500ms, &ScrollSession::finish)},
                                       .end = End::wish,
                                       .furthest = somewhere,
                                       .milliseconds = 4200});
        row("hangs for good", {.view = {.stallsAt = 2000, .stall = 100'000ms},
                               .end = End::unanswered,
                               .furthest = somewhere,
                               .milliseconds = 13'000});
        row("slow to answer", {.view = {.answer = 300ms}, .milliseconds = 12'000});
        row("hardly moves", {.view = {.pixelsPerClick = 2}, .milliseconds = 3600});
        row("hardly moves, and the wheel takes its time",
            {.view = {.pixelsPerClick = 2, .page = 2000, .answer = 30ms, .turning = 4ms}, .milliseconds = 15'000});
        row("one click is most of the region", {.view = {.pixelsPerClick = 470}, .milliseconds = 3200});
        row("a caret", {.view = {.animation = 500ms}, .milliseconds = 3550});
        for (const auto interval : {120ms, 400ms, 1000ms})
            row(qPrintable(QStringLiteral("something wide that changes every %1 ms").arg(interval / 1ms)),
                {.view = {.animation = interval, .isWide = true}, .milliseconds = 6500});
        row("slow, with a caret", {.view = {.answer = 400ms, .animation = 410ms}, .milliseconds = 31'000});
        row("a scroll bar that goes on fading", {.view = {.animation = 5ms, .isAside = true}, .milliseconds = 7200});
        row("is painted slowly", {.view = {.painting = 200ms}, .milliseconds = 12'000});
        row("slow, with a movie", {.view = {.answer = 250ms, .animation = 90ms}, .milliseconds = 12'000});
        row("alike for a while: smaller steps", {.view = {.blankFrom = 2000}, .milliseconds = 5500});
        row("one click is too much, but shows its way",
            {.view = {.pixelsPerClick = 500, .smooth = 200ms, .picture = 16ms}, .milliseconds = 6500});
        row("a list that loads more at its end",
            {.view = {.page = 1500, .loads = 5}, .furthest = 1500 + 5 * 900 - region, .milliseconds = 7500});
        row("a list that loads more slowly", {.view = {.page = 1500, .loads = 2, .loading = 1000ms},
                                              .furthest = 1500 + 2 * 900 - region,
                                              .milliseconds = 9500});
        row("a list that loads more while it looks back",
            {.view = {.answer = 60ms, .loads = 1, .loading = 2000ms}, .furthest = 6900 - region, .milliseconds = 9500});
        row("and only a little", {.view = {.answer = 60ms, .loads = 1, .more = 100, .loading = 2000ms},
                                  .furthest = 6100 - region,
                                  .milliseconds = 9500});
        row("and only smaller steps tell how it goes on",
            {.view = {.answer = 60ms, .blankFrom = 6000, .loads = 1, .loading = 2000ms},
             .furthest = 6900 - region,
             .milliseconds = 12'000});
        for (const auto answer : {2ms, 30ms, 150ms})
            row(qPrintable(QStringLiteral("loads without a sign, and answers after %1 ms").arg(answer / 1ms)),
                {.view = {.answer = answer, .smooth = 200ms, .loads = 1, .loading = 1950ms, .isSilent = true},
                 .furthest = 6900 - region,
                 .milliseconds = 16'000});
        row("shows early that it loads", {.view = {.answer = 30ms, .loads = 1, .loading = 3500ms, .sign = 1700ms},
                                          .furthest = 6900 - region,
                                          .milliseconds = 12'000});
        row("loads only while its end is in view",
            {.view = {.answer = 60ms, .loads = 1, .loading = 800ms, .isSilent = true, .isImpatient = true},
             .furthest = 6900 - region,
             .milliseconds = 8000});
        row("loads while the pointer is elsewhere",
            {.view = {.answer = 30ms, .loads = 1, .loading = 2500ms, .isSilent = true},
             .events = {point(3000ms, Pointer::away), point(7000ms, Pointer::inside)},
             .furthest = 6900 - region,
             .milliseconds = 12'000,
             .notice = Notice::pointerAway});
        // What has grown is seen by where clicks lead, and not by anything in view.
        const auto grows = [&](const char *name, View view, int page = 6300, const std::vector<Event> &events = {}) {
            view.growsAt = view.growsAt > 0 ? view.growsAt : 1500;
            row(name, {.view = view,
                       .events = events,
                       .furthest = page - region,
                       .milliseconds = 12'000,
                       .notice = events.empty() ? Notice::none : Notice::pointerAway});
        };
        grows("grows out of view: once more from the beginning", {});
        grows("and many clicks are answered late", {.answerToMany = 400ms});
        grows("or later than most are",
              {.pixelsPerClick = 90,
               .page = 3910,
               .answer = 16ms,
               .smooth = 62ms,
               .picture = 16ms,
               .growsAt = 1035,
               .answerToMany = 209ms},
              4210);
        grows("and it hangs on the way", {.stallsAt = 1500, .stall = 2500ms, .growsAt = 2500});
        grows("and a click is lost on the way", {.pixelsPerClick = 20, .losesAt = 3000});
        grows("and it loads more at its end",
              {.pixelsPerClick = 20, .page = 2600, .growsAt = 950, .loads = 4, .more = 650}, 5500);
        grows("and the pointer is elsewhere while it looks back", {.answer = 60ms, .growsAt = 2400}, 6300,
              {point(2800ms, Pointer::away), point(3200ms, Pointer::inside)});
        row("many clicks are answered late", {.view = {.answerToMany = 500ms}, .milliseconds = 6500});
        row("the same beside a scroll bar that fades where nothing moves",
            {.view = {.painting = 400ms, .isAside = true, .growsAt = 1500},
             .furthest = 6300 - region,
             .milliseconds = 16'000});
        row("fills out of view, and there was trouble elsewhere",
            {.view = {.blankFrom = 1000, .fillsAt = 3750, .sticks = true}, .furthest = 0, .milliseconds = 8000});
        row("loses clicks at the first look back", {.view = {.losesIn = 1}, .milliseconds = 3600});
        row("and at the last", {.view = {.losesIn = 4}, .milliseconds = 3600});
        row("and on the way forth", {.view = {.losesIn = 5}, .milliseconds = 3600});
        row("and does not move any more",
            {.view = {.growsAt = 1500, .sticks = true}, .furthest = 0, .milliseconds = 5500});
        row("nor before Escape", {.view = {.growsAt = 1500, .sticks = true},
                                  .events = {wish(3000ms, &ScrollSession::finishOrCancel)},
                                  .end = End::wish,
                                  .furthest = 0,
                                  .milliseconds = 4700});
        row("springs back",
            {.view = {.springsBack = true}, .end = End::changed, .furthest = somewhere, .milliseconds = 9000});
        row("the height limit",
            {.view = {.page = 100'000}, .end = End::height, .furthest = somewhere, .milliseconds = 2500});
        row("alike at every step", {.view = {.pixelsPerClick = 90, .blankFrom = 2000},
                                    .end = End::ambiguous,
                                    .furthest = somewhere,
                                    .milliseconds = 6200});
        row("alike at every step, which is half of the region", {.view = {.pixelsPerClick = 300, .blankFrom = 2000},
                                                                 .end = End::ambiguous,
                                                                 .furthest = somewhere,
                                                                 .milliseconds = 6500});
        row("nothing is painted for a while: once more",
            {.view = {.pixelsPerClick = 90, .blankFrom = 2000, .isPaintedLate = true}, .milliseconds = 11'200});
        row("one click is too much",
            {.view = {.pixelsPerClick = 500}, .end = End::lost, .furthest = 0, .milliseconds = 1900});
        row("changes under way",
            {.view = {.changesAt = 3000}, .end = End::lost, .furthest = somewhere, .milliseconds = 4500});
        row("changes before it moves: once more", {.view = {.changesAt = 1, .settles = true}, .milliseconds = 7100});
        row("goes away", {.view = {.changesAt = 3000, .goesAway = true},
                          .end = End::lost,
                          .furthest = somewhere,
                          .milliseconds = 2000});

        // What the user scrolls meanwhile is joined.
        const auto pause = [&](const char *name, const Event &begin, const Event &end, Notice notice) {
            row(name, {.events = {begin, wheel(1200ms, 100), end}, .milliseconds = 5300, .notice = notice});
        };
        const Event back = point(2000ms, Pointer::inside);
        pause("the pointer is elsewhere", point(400ms, Pointer::away), back, Notice::pointerAway);
        pause("the pointer is over the panel", point(400ms, Pointer::overPanel), back, Notice::pointerOverPanel);
        pause("a key is held", hold(400ms, true), hold(2000ms, false), Notice::keyHeld);

        row("the pointer is elsewhere while it goes back to the beginning",
            {.view = {.answer = 60ms, .growsAt = 1500},
             .events = {point(4130ms, Pointer::away), point(4630ms, Pointer::inside)},
             .furthest = 6300 - region,
             .milliseconds = 9500,
             .notice = Notice::pointerAway});

        const auto wished = [&](const char *name, const View &view, const std::vector<Event> &events, End end,
                                int furthest = somewhere, Mode mode = Mode::automatic) {
            row(name, {view, events, mode, end, furthest, 1650});
        };
        const View slow{.answer = 100ms, .smooth = 200ms};
        wished("done", slow, {wish(1000ms, &ScrollSession::finish)}, End::wish);
        wished("done before the first frame", slow, {wish(5ms, &ScrollSession::finish)}, End::wish, 0);
        wished("done with a movie", {.animation = 5ms}, {wish(1000ms, &ScrollSession::finish)}, End::wish);
        wished("done by hand", slow, {wish(1000ms, &ScrollSession::finish)}, End::wish, 0, Mode::manual);
        wished("Escape in the first step", slow, {wish(420ms, &ScrollSession::finishOrCancel)}, End::wish);
        wished("Escape with nothing to scroll", {.page = region}, {wish(700ms, &ScrollSession::finishOrCancel)},
               End::cancelled, 0);
        wished("Escape before the first frame", slow, {wish(5ms, &ScrollSession::finishOrCancel)}, End::cancelled,
               nowhere);
        wished("cancelled", slow, {wish(1000ms, &ScrollSession::cancel)}, End::cancelled);
        row("done while it pauses", {.view = slow,
                                     .events = {point(800ms, Pointer::away), wish(1000ms, &ScrollSession::finish)},
                                     .end = End::wish,
                                     .furthest = somewhere,
                                     .milliseconds = 1650,
                                     .notice = Notice::pointerAway});
        row("the user scrolls too far, and back",
            {.view = {.page = 3000, .smooth = 300ms},
             .events = {wheel(1000ms, 200), wheel(2000ms, 1500), wheel(3000ms, -1300), wheel(4000ms, 400),
                        wish(5000ms, &ScrollSession::finish)},
             .mode = Mode::manual,
             .end = End::wish,
             .furthest = 800,
             .milliseconds = 5700,
             .notice = Notice::placeLost});
    }

    void ends()
    {
        QFETCH(Case, of);
        const Simulation simulation(of);
        QCOMPARE(simulation.end, of.end);
        if (of.furthest != somewhere)
            QCOMPARE(simulation.furthest, of.furthest == allOfIt ? of.view.page - region : of.furthest);
        if (of.end == End::height)
            QVERIFY(region + simulation.furthest >= heightLimit && simulation.furthest < heightLimit);
        if (of.view.animation == 0ms && of.view.picture != 16ms)
            QVERIFY(!simulation.moving); // what was under way came in
        QVERIFY2(simulation.now <= Milliseconds(of.milliseconds),
                 QByteArray::number(qint64(simulation.now / 1ms)).constData());
        QCOMPARE(simulation.notice, of.notice);
        QVERIFY(simulation.isPatient);
        QVERIFY(!simulation.stale);
    }

    void stepsFollowTheView()
    {
        for (const double pixelsPerClick : {4.0, 57.0, 120.0, 200.0}) {
            const std::vector<int> joins = Simulation({.view = {.pixelsPerClick = pixelsPerClick}}).joins;
            int largest = 0;
            for (size_t i = 1; i < joins.size(); ++i)
                largest = std::max(largest, joins[i] - joins[i - 1]);
            QVERIFY2(largest < region * 3 / 4 && largest > region / 2, QByteArray::number(largest).constData());
        }
    }

    // Where it cannot be begun again, it is said.
    void whatGrowsOutOfViewIsSaid()
    {
        const Simulation simulation({.view = {.growsAt = 1500, .beginsLow = true}});
        QCOMPARE(simulation.end, End::content);
        QCOMPARE(simulation.furthest, 6000 - region);
        QVERIFY(simulation.stale);
    }

    // Both show further down what was expected, but only one of them does so from elsewhere, too.
    void lostClicksAreNoGrowth()
    {
        LookBack looks;
        looks.measure(1, 100);
        looks.measure(3, 300);
        QVERIFY(looks.begin(10'000, region));
        const int clicks = looks.nextClicks();
        QCOMPARE(looks.expected(), 7500);
        QCOMPARE(looks.clicksToVerify(7700), clicks);
        QVERIFY(looks.agrees(10'000));
        QCOMPARE(looks.nextClicks(), clicks);
        QVERIFY(looks.agrees(7500) && !looks.agrees(7700));
        QCOMPARE(looks.clicksToVerify(7700), 0);

        QVERIFY(looks.begin(10'000, region));
        looks.nextClicks();
        looks.nextClicks();
        QCOMPARE(looks.clicksToVerify(5200), clicks);
        QVERIFY(looks.agrees(7700) && !looks.agrees(7500));
    }

    // What still covers the view is waited for, but not for ever.
    void leftoversAreWaitedFor()
    {
        for (const bool isPainted : {true, false}) {
            ScrollSession session({.mode = Mode::automatic, .regionHeight = region, .heightLimit = heightLimit});
            Milliseconds now = 0ms;
            for (Order order; order.kind == Order::Kind::look; now += order.wait)
                order = session.look(now, {.fresh = true, .covered = !isPainted || now < 3s});
            QVERIFY(isPainted ? now >= 3s && now < 3100ms : now >= 5s && now < 5100ms);
        }
    }

    // A look that is disturbed tells nothing, but only that one.
    void theCountIsLostForOneLookBack()
    {
        LookBack looks;
        looks.measure(1, 100);
        looks.measure(3, 300);
        for (const bool isLost : {true, false}) {
            QVERIFY(looks.begin(10'000, region));
            looks.nextClicks();
            if (isLost)
                looks.loseCount();
            QCOMPARE(looks.agrees(7700), isLost);
        }
    }

    // Where all goes as expected, the wheel is turned before a frame is joined. What has been turned too much is taken back.
    void theWheelIsTurnedAhead_data()
    {
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<QList<int>>("clicks");
        QTest::newRow("as expected") << QList{Step::joined} << QList{0};
        QTest::newRow("nothing fits: smaller steps") << QList{Step::lost, Step::still} << QList{-12, 3};
        QTest::newRow("something has changed: the same step, and from further up if it was seen there, too")
            << QList{Step::doubtful, Step::doubtful, Step::doubtful} << QList{-12, -6, -6};
        QTest::newRow("it has not moved, but for something else") << QList{Step::renewed, Step::still} << QList{-12, 6};
        QTest::newRow("it has not moved") << QList{Step::still, Step::still} << QList{-12, 6};
    }

    void theWheelIsTurnedAhead()
    {
        QFETCH(QList<Step>, steps);
        QFETCH(QList<int>, clicks);
        EvenView view;
        for (int i = 0; i < steps.size(); ++i) {
            QCOMPARE(view.joined(steps[i]).clicks, clicks[i]);
            QCOMPARE(view.next().clicks, steps[i] == Step::joined ? 6 : 0); // until steps are even again
        }
    }

    // The user may decide while the wheel is turned.
    void whatIsWishedMeanwhile()
    {
        EvenView done;
        done.session.finish();
        done.joined(Step::joined);
        QCOMPARE(done.session.end(), End::open); // what has been turned is on the screen
        QCOMPARE(done.next().kind, Order::Kind::join);
        done.joined(Step::joined);
        QCOMPARE(done.session.end(), End::wish);

        EvenView cancelled(4000);
        cancelled.height = 4000;
        cancelled.session.cancel();
        cancelled.joined(Step::joined);
        QCOMPARE(cancelled.session.end(), End::cancelled);
    }

    // A step of several clicks is taken back as it was made, and made smaller.
    void whatWasLostIsLookedForAgain()
    {
        ScrollSession session({.mode = Mode::automatic, .regionHeight = region, .heightLimit = 30'000});
        Milliseconds now{0};
        int height = region;
        bool isMovie = false;
        // The view answers at once: the next look that asks for more than another look has a new frame to join.
        const auto clicksAfter = [&](Step step, int shift) {
            for (bool changed = true;; changed = isMovie) {
                const Order order = session.look(now, {.changed = changed, .fresh = true});
                if (order.kind != Order::Kind::look)
                    return session.joined(now, {step, shift, height += shift, region, step == Step::renewed}).clicks;
                now += order.wait;
            }
        };
        QCOMPARE(clicksAfter(Step::first, 0), 1);
        QCOMPARE(clicksAfter(Step::joined, 50), 3);
        QCOMPARE(clicksAfter(Step::joined, 150), 7);
        QCOMPARE(clicksAfter(Step::lost, 0), -7);
        QCOMPARE(clicksAfter(Step::still, 0), 3);
        QCOMPARE(clicksAfter(Step::ambiguous, 0), -3);
        QCOMPARE(clicksAfter(Step::still, 0), 1);
        // What was too much is tried again when smaller steps have gone well for a while.
        int good = 1;
        while (good < 20 && clicksAfter(Step::joined, 50) == 1)
            ++good;
        QVERIFY2(good > 3 && good < 10, QByteArray::number(good).constData());
        // Where something has changed, the same step is made again; what has left the region may have changed as well.
        clicksAfter(Step::joined, region);
        const int back = clicksAfter(Step::doubtful, 0);
        QVERIFY(back < 0 && !session.mayBeStale());
        QCOMPARE(clicksAfter(Step::renewed, 0), -back);
        QVERIFY(session.mayBeStale());
        // It is waited for from then on, unless what was doubted turns out to be as it was.
        using Activity = ScrollSession::Activity;
        for (const auto &[trouble, activity] :
             {std::pair(Step::lost, Activity::waiting), {Step::doubtful, Activity::scrolling}}) {
            clicksAfter(Step::joined, region);
            clicksAfter(Step::doubtful, 0);
            clicksAfter(trouble, 0);
            clicksAfter(Step::still, 0);
            QCOMPARE(session.activity(), activity);
        }
        // Nor is a movie, which never comes to rest.
        clicksAfter(Step::joined, region);
        clicksAfter(Step::doubtful, 0);
        isMovie = true;
        clicksAfter(Step::renewed, 0);
        QCOMPARE(session.activity(), Activity::scrolling);
        QCOMPARE(session.end(), End::open);
    }
};

QTEST_APPLESS_MAIN(tst_ScrollSession)
#include "tst_ScrollSession.moc"
