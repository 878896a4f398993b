#include "helpers/qmscroll/ScrollSession.h"

#include <algorithm>

namespace qm {

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::milliseconds;

constexpr auto firstLook = 5ms; // a plain view has painted by then
constexpr auto lookInterval = 10ms;
constexpr auto fineInterval = 4ms;    // less than half of a picture's time on usual monitors
constexpr auto restInterval = 30ms;   // while nothing goes on
constexpr auto shortest = 40ms;       // a step takes at least that long
constexpr auto longest = 600ms;       // and at most that, though the screen does not come to rest
constexpr auto longestStart = 1500ms; // until what lay over the region has faded away
constexpr auto quietTime = 35ms;      // longer than a slow browser's pause between two pictures of one movement
constexpr auto uncoverTime = 250ms;   // until others have painted what lay under ours
constexpr auto shortestAnswer = 150ms;

constexpr double stepShare = 0.4; // of the region's height that a step is to move
constexpr int stepsToTrust = 6;
constexpr int idleLimit = 2;
constexpr int barrenLimit = 8;
constexpr int recoveryLimit = 5;

} // namespace

ScrollSession::ScrollSession(const Options &options)
    : m_options(options)
{
}

void ScrollSession::finish()
{
    m_finish = true;
}

void ScrollSession::finishOrCancel()
{
    if (!m_started)
        cancel();
    m_finish = m_onlyIfScrolled = true;
}

void ScrollSession::cancel()
{
    if (m_end == End::open)
        m_end = End::cancelled;
}

void ScrollSession::abandon()
{
    if (m_end == End::open)
        m_end = m_started ? End::lost : End::cancelled;
}

ScrollSession::Order ScrollSession::look(Milliseconds now, const Sight &sight)
{
    if (m_end != End::open)
        return endWith(m_end);
    if (const Notice obstacle = m_finish ? Notice::none : this->obstacle(sight); obstacle != Notice::none) {
        m_notice = obstacle;
        m_direction = Direction::none; // whatever happens meanwhile is the user's doing
        m_since = Milliseconds(-1);
        return {Order::Kind::look, 0, restInterval};
    }
    if (m_notice != Notice::placeLost)
        m_notice = Notice::none;
    if (m_since < 0ms) {
        m_since = now;
        m_lastChange = Milliseconds(-1);
    }
    if (m_started && (m_options.mode == Mode::manual || m_notice == Notice::placeLost))
        return watch(now, sight);
    if (sight.changed || (sight.fresh && m_lastChange < 0ms)) {
        if (m_lastChange < 0ms)
            m_answer = now - m_since;
        m_lastChange = now;
    }
    if (!isSettled(now, sight))
        return rest(now);
    if (sight.fresh || !m_started)
        return {Order::Kind::join, 0, {}};
    if (m_finish)
        return endByWish();
    if (m_astray != End::open) // and nothing has changed since
        return recover(now, m_astray);
    if (m_direction == Direction::forth && !m_moved)
        return now - m_since < answerLimit() ? rest(now) : idle(now);
    return proceed(now);
}

// The user scrolls. A frame is joined when two looks saw the same: a view that moves on and on shows each of its pictures
// for longer than that, one that is half painted does not.
ScrollSession::Order ScrollSession::watch(Milliseconds now, const Sight &sight)
{
    if (sight.changed)
        m_lastChange = now;
    else
        m_since = now; // of the movement
    const bool still = !sight.changed || now - m_since >= longest;
    if (still && sight.fresh)
        return {Order::Kind::join, 0, {}};
    if (still && m_finish)
        return endByWish();
    return {Order::Kind::look, 0, now - m_lastChange > longest ? restInterval : lookInterval};
}

ScrollSession::Order ScrollSession::joined(Milliseconds now, Stitcher::Step step, int shift, int height)
{
    using Step = Stitcher::Step;
    const bool isFirst = !m_started;
    const bool grew = height > m_height;
    m_started = true;
    m_height = height;
    if (step == Step::failed)
        return endWith(End::failed);
    if (step == Step::joined)
        m_scrolled = true;
    if (m_finish)
        return endByWish();
    if (height >= m_options.heightLimit)
        return endWith(End::height);
    const bool underWay = m_fine && m_direction == Direction::forth && now - m_lastChange < quietTime;
    if (step == Step::ambiguous || step == Step::lost) {
        m_astray = step == Step::lost ? End::lost : End::ambiguous;
        return underWay ? rest(now) : recover(now, m_astray);
    }

    m_astray = End::open;
    m_notice = Notice::none;
    if (step == Step::still && m_direction == Direction::forth && !isFirst) {
        // Something else moved, a caret say: the view may yet answer.
        m_answer = longest;
        return now - m_since < answerLimit() ? rest(now) : idle(now);
    }
    if (step == Step::joined) {
        m_idleSteps = 0;
        m_barrenSteps = grew ? 0 : m_barrenSteps + 1;
        if (m_barrenSteps >= barrenLimit && m_options.mode == Mode::automatic)
            return endWith(m_recoveries ? m_trouble : End::content); // without trouble: it springs back each time
        if (grew)
            m_recoveries = 0;
        if (underWay) {
            m_moved = true;
            return rest(now);
        }
        if (m_direction == Direction::forth && shift > 0) {
            m_slowestAnswer = std::max(m_slowestAnswer, std::min(m_answer, now - m_since));
            learn(shift);
        }
    }
    return proceed(now);
}

ScrollSession::Order ScrollSession::rest(Milliseconds now) const
{
    const Milliseconds calm = now - std::max(m_since, m_lastChange);
    // Not past the moment at which the step may be over.
    const Milliseconds left = std::max(m_since + shortest - now, quietTime - calm);
    const Milliseconds interval = m_fine ? fineInterval : lookInterval;
    return {Order::Kind::look, 0, left > 0ms ? std::min(left, interval) : interval};
}

ScrollSession::Order ScrollSession::step(Milliseconds now, Direction direction, int clicks)
{
    m_direction = direction;
    m_clicks = clicks;
    m_moved = false;
    m_since = now;
    m_lastChange = Milliseconds(-1);
    return {Order::Kind::scroll, direction == Direction::back ? -clicks : clicks, firstLook};
}

ScrollSession::Order ScrollSession::proceed(Milliseconds now)
{
    if (m_options.mode == Mode::automatic)
        return step(now, Direction::forth, m_nextClicks);
    m_direction = Direction::none;
    return {Order::Kind::look, 0, lookInterval};
}

// A step that moved nothing.
ScrollSession::Order ScrollSession::idle(Milliseconds now)
{
    return ++m_idleSteps >= idleLimit ? endWith(End::content) : proceed(now);
}

// The frame could not be joined. Steps of our own are taken back and made smaller; where the user has scrolled, only the
// user can go back.
ScrollSession::Order ScrollSession::recover(Milliseconds now, End reason)
{
    m_trouble = reason;
    if (m_direction == Direction::none) {
        m_notice = Notice::placeLost;
        return {Order::Kind::look, 0, lookInterval};
    }
    ++m_recoveries;
    if (m_recoveries >= recoveryLimit)
        return endWith(reason);
    if (m_direction == Direction::forth && m_clicks == 1)
        m_fine = true; // no step can be smaller, but a view that moves smoothly shows what lies between
    if (m_direction == Direction::back) // not far enough
        return step(now, Direction::back, 1);
    m_nextClicks = m_mostClicks = std::max(1, m_clicks / 2);
    m_smoothSteps = 0;
    return step(now, Direction::back, m_clicks);
}

ScrollSession::Order ScrollSession::endByWish()
{
    return endWith(m_onlyIfScrolled && !m_scrolled ? End::cancelled : End::wish);
}

ScrollSession::Order ScrollSession::endWith(End end)
{
    m_end = end;
    return {Order::Kind::end, 0, {}};
}

ScrollSession::Notice ScrollSession::obstacle(const Sight &sight) const
{
    if (m_options.mode == Mode::manual)
        return Notice::none;
    switch (sight.pointer) {
    case Pointer::overPanel: return Notice::pointerOverPanel;
    case Pointer::away: return Notice::pointerAway;
    case Pointer::inside: break;
    }
    return sight.held ? Notice::keyHeld : Notice::none;
}

bool ScrollSession::isSettled(Milliseconds now, const Sight &sight) const
{
    const Milliseconds passed = now - m_since;
    if (passed >= (m_started ? longest : longestStart))
        return true;
    const Milliseconds calm = now - std::max(m_since, m_lastChange);
    if (sight.changed)
        return false;
    if (m_direction == Direction::none)
        return calm >= quietTime && passed >= (sight.trusted && !m_started ? shortest : uncoverTime);
    if (m_lastChange < 0ms)
        return passed >= answerLimit();
    if (m_fine && m_direction == Direction::forth && sight.fresh)
        return true; // as in watch()
    return calm >= quietTime && passed >= shortest;
}

// How long a view may take to answer the wheel before the step counts as one that moved nothing.
Milliseconds ScrollSession::answerLimit() const
{
    if (m_slowestAnswer == 0ms || m_idleSteps > 0)
        return longest;
    return std::clamp<Milliseconds>(4 * m_slowestAnswer, shortestAnswer, longest);
}

void ScrollSession::learn(int shift)
{
    // The last step of a page is a short one: slow to believe in less, as a page may grow while it is read.
    m_pixelsPerClick = std::max(double(shift) / m_clicks, m_pixelsPerClick * 0.75);
    const int wanted = int(stepShare * m_options.regionHeight / m_pixelsPerClick);
    // What was too much a moment ago is tried again when it has gone well for a while.
    if (++m_smoothSteps % stepsToTrust == 0)
        m_mostClicks = std::min(2 * m_mostClicks, mostClicks);
    m_nextClicks = std::clamp(wanted, 1, std::min(2 * m_clicks + 1, m_mostClicks));
}

} // namespace qm
