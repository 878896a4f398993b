#include "helpers/qmscroll/ScrollSession.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qm {

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::milliseconds;

constexpr auto firstLook = 5ms; // a simple view has painted by then
constexpr auto lookInterval = 10ms;
constexpr auto fineInterval = 4ms;    // less than half a frame on common monitors
constexpr auto shortest = 40ms;       // minimum duration of a step
constexpr auto longest = 600ms;       // and maximum, even if the screen does not come to rest
constexpr auto longestStart = 1500ms; // until whatever covered the region has faded away
constexpr auto quietTime = 35ms;      // longer than a slow browser's pause between two frames of one movement
constexpr auto endOfMovement = 20ms;  // its last picture or two may differ by a pixel
constexpr auto elsewhereTime = 200ms; // not where it was expected: a movement pauses on a loaded machine
constexpr auto uncoverTime = 250ms;   // until other programs have repainted what our windows covered
constexpr auto shortestAnswer = 150ms;

constexpr double stepShare = 0.6; // fraction of the moving height; what remains in view has to be recognised
constexpr int stepsToTrust = 6;
constexpr int recoveryLimit = 5, lookLimit = 10; // the latter where the page changes: it may load several pictures
constexpr int vainLimit = 3; // looks that found nothing changed: it springs back, or goes on changing
constexpr auto firstPatience = 300ms, mostPatience = 1600ms; // with a page that loads what comes into view
constexpr auto offerTime = 6s;                               // to begin to scroll where the wheel does nothing
constexpr auto pauseInLoading = 250ms; // longer than between two pictures of a movie on a slow machine
constexpr int newsLimit = 3;           // a list loads more within so many waits, or it is an animation

Milliseconds lessPatience(Milliseconds patience)
{
    return patience > firstPatience ? patience / 2 : 0ms;
}

} // namespace

ScrollSession::ScrollSession(const Options &options)
    : m_options(options)
    , m_mode(options.mode)
{
}

void ScrollSession::finish()
{
    if (m_wish == Wish::none)
        m_wish = Wish::finish;
}

void ScrollSession::finishOrCancel()
{
    if (m_state == State::opening)
        cancel();
    m_wish = Wish::finishIfScrolled;
}

void ScrollSession::cancel()
{
    if (m_end == End::open)
        m_end = End::cancelled;
}

void ScrollSession::abandon()
{
    if (m_end == End::open)
        m_end = m_state == State::opening ? End::cancelled : End::lost;
}

void ScrollSession::turned(Milliseconds now)
{
    (m_step.ahead > 0 ? m_step.aheadSince : m_step.since) = now;
}

ScrollSession::Order ScrollSession::look(Milliseconds now, Sight sight)
{
    if (m_end != End::open)
        return endWith(m_end);
    if (const Notice obstacle = m_wish != Wish::none ? Notice::none : this->obstacle(sight); obstacle != Notice::none) {
        m_notice = obstacle;
        if (isLookingBack()) {
            m_lookBack.loseCount();
            m_step.isInterrupted = true;
        } else if (m_state != State::opening) {
            m_state = State::resuming;
        }
        m_step.since.reset();
        return {Order::Kind::look, 0, restInterval};
    }
    if (m_notice != Notice::placeLost && m_notice != Notice::wheelDoesNothing)
        m_notice = Notice::none;
    if (!m_step.since) {
        m_step.since = now;
        m_step.lastChange.reset();
    }
    if (m_state == State::watching)
        return watch(now, sight);
    if (isLookingBack() && m_step.lastChange && sight.aside)
        sight.changed = false; // a scroll bar may go on fading for longer than the view moves
    if (sight.changed || (sight.fresh && !m_step.lastChange && !isLookingBack())) {
        if (!m_step.lastChange)
            m_step.answer = now - *m_step.since;
        else
            m_step.pause = std::max(m_step.pause, now - *m_step.lastChange);
        m_step.lastChange = now;
        m_step.changes += !sight.aside;
    }
    const bool isPainting = sight.changed && !sight.aside; // what has come into view
    m_isUnsteady |= isPainting && m_step.arrived && now - *m_step.arrived >= endOfMovement;
    if (!sight.arrived)
        m_step.arrived.reset();
    else if (isPainting || !m_step.arrived)
        m_step.arrived = now;
    if (!isSettled(now, sight))
        return rest(now);
    if (isLookingBack() && m_wish != Wish::none)
        return endByWish();
    if (isProving() && !sight.fresh)
        return proveAgain(now);
    if (isLookingBack())
        return {.kind = Order::Kind::find,
                .near = isProving() || m_state == State::returning ? m_progress.position : m_lookBack.expected()};
    if (sight.fresh || m_state == State::opening)
        return joinAndTurn(sight);
    if (m_wish != Wish::none)
        return endByWish();
    if (m_progress.astray != End::open) // and nothing has changed since
        return recover(now, m_progress.astray);
    if (m_state == State::forth && !m_step.moved)
        return now - *m_step.since < answerLimit() ? rest(now) : idle(now);
    return proceed(now);
}

// The user scrolls. A frame is joined when two looks see the same: a continuously moving view shows each of its frames
// for longer than that, a half-painted one does not.
ScrollSession::Order ScrollSession::watch(Milliseconds now, const Sight &sight)
{
    if (sight.changed)
        m_step.lastChange = now;
    else
        m_step.since = now; // start of the movement
    if (m_offerEnd && !sight.changed && now >= *m_offerEnd)
        return endWith(End::content);
    const bool still = !sight.changed || now - *m_step.since >= longest;
    if (still && sight.fresh)
        return join();
    if (still && m_wish != Wish::none)
        return endByWish();
    return {Order::Kind::look, 0, now - m_step.lastChange.value_or(0ms) > longest ? restInterval : lookInterval};
}

ScrollSession::Order ScrollSession::joined(Milliseconds now, const Joint &joint)
{
    using Joined = Stitcher::Step;
    if (m_end != End::open) // since, while the wheel was turned
        return endWith(m_end);
    const Joined step = joint.step;
    const bool isFirst = m_state == State::opening;
    const bool grew = joint.height > m_progress.height;
    if (isFirst)
        m_state = State::resuming;
    m_progress.height = std::max(m_progress.height, joint.height);
    m_progress.isCut = joint.height < m_progress.height;
    if (step == Joined::failed)
        return endWith(End::failed);
    if (step == Joined::joined) {
        m_progress.scrolled = true;
        m_progress.position += joint.shift;
    }
    if (step != Joined::still && step != Joined::renewed)
        m_offerEnd.reset(); // the user has begun to scroll
    const End refused = m_progress.astray;
    m_progress.astray = step == Joined::doubtful    ? End::changed
                        : step == Joined::ambiguous ? End::ambiguous
                        : step == Joined::lost      ? End::lost
                                                    : End::open;
    m_isUnsteady |= joint.renewed || m_progress.astray != End::open;
    if (step != Joined::still && step != Joined::renewed)
        m_progress.idleSince.reset();
    if (m_wish != Wish::none && (m_step.ahead == 0 || step != Joined::joined))
        return endByWish();
    if (joint.height >= m_options.heightLimit)
        return endWith(End::height);
    const bool underWay = m_pace.fine && m_state == State::forth && now - m_step.lastChange.value_or(0ms) < quietTime;
    if (m_progress.astray != End::open)
        return underWay ? rest(now) : recover(now, m_progress.astray);

    m_notice = m_offerEnd ? Notice::wheelDoesNothing : Notice::none;
    if (joint.renewed || grew)
        m_progress.vainLooks = 0;
    if (m_state == State::back && joint.renewed && !neverRests(now)) {
        // What has loaded here may have loaded further up as well, where it can no longer be looked at.
        m_progress.stale |= m_pace.patience == 0ms && joint.height > 2 * m_options.regionHeight;
        m_pace.patience = std::clamp<Milliseconds>(2 * m_pace.patience, firstPatience, mostPatience);
    } else if (m_state == State::back && step == Joined::still && refused == End::changed) {
        // What was doubted is drawn otherwise elsewhere, and does not load.
        m_pace.patience = lessPatience(m_pace.patience);
    }
    if ((step == Joined::still || step == Joined::renewed) && m_state == State::forth) {
        if (m_step.ahead > 0)
            return undo(now); // two steps at once may lead too far away
        if (step == Joined::renewed && !std::exchange(m_step.news, true) && m_progress.news < newsLimit) {
            ++m_progress.news;
            m_progress.idleSteps = 0; // a list that loads more at its end
            m_progress.idleSince.reset();
            m_progress.hesitates = true;
        }
        // Something else moved, such as a caret: the view may still respond.
        m_step.answer = longest;
        return now - *m_step.since < answerLimit() ? rest(now) : idle(now);
    }
    if (step == Joined::joined) {
        m_progress.hesitates |= grew && m_progress.idleSteps > 0;
        m_progress.idleSteps = 0;
        if (grew) {
            m_progress.recoveries = m_progress.news = 0;
            m_progress.changes = false;
        }
        if (underWay) {
            m_step.moved = true;
            m_lookBack.measureNone();
            return rest(now);
        }
        if (m_state == State::forth && joint.shift > 0 && !m_step.isUncounted) {
            m_pace.slowestAnswer = std::max(m_pace.slowestAnswer, std::min(m_step.answer, now - *m_step.since));
            learn(joint);
        }
    }
    return proceed(now);
}

ScrollSession::Order ScrollSession::join() const
{
    return {Order::Kind::join, m_step.ahead, {}, m_state == State::forth ? Heading::forward : Heading::any};
}

// The view need not wait for what hardly ever turns out otherwise.
ScrollSession::Order ScrollSession::joinAndTurn(const Sight &sight)
{
    const bool isUsual = m_state == State::forth && sight.arrived && m_pace.isSteady && m_pace.patience == 0ms &&
                         m_progress.recoveries == 0 && m_wish == Wish::none;
    m_step.ahead = isUsual ? m_pace.nextClicks : 0;
    return join();
}

ScrollSession::Order ScrollSession::rest(Milliseconds now) const
{
    // Not past the moment at which the step may be over.
    const Milliseconds left = std::max(*m_step.since + shortest - now, neededCalm() - calm(now));
    const Milliseconds interval = m_pace.fine ? fineInterval : lookInterval;
    return {Order::Kind::look, 0, left > 0ms ? std::min(left, interval) : interval};
}

ScrollSession::Order ScrollSession::step(Milliseconds now, State direction, int clicks)
{
    m_state = direction;
    m_step = {};
    m_step.clicks = clicks;
    m_step.since = now;
    const bool isUp = direction == State::back || direction == State::checking || direction == State::rewinding;
    return {Order::Kind::scroll, isUp ? -clicks : clicks, firstLook};
}

// Takes back the step under way, together with the one turned ahead of its join.
ScrollSession::Order ScrollSession::undo(Milliseconds now)
{
    const int clicks = m_step.clicks;
    const Order order = step(now, State::back, clicks + m_step.ahead);
    m_step.clicks = clicks; // should it have to go back further, then by single steps
    m_pace.isSteady = false;
    return order;
}

ScrollSession::Order ScrollSession::proceed(Milliseconds now)
{
    if (const int ahead = m_step.ahead) {
        const auto since = m_step.aheadSince;
        step(now, State::forth, ahead);
        m_step.since = since;
        return {Order::Kind::look, 0, firstLook};
    }
    if (m_mode == Mode::automatic)
        return step(now, State::forth, m_pace.nextClicks);
    m_state = State::watching;
    return {Order::Kind::look, 0, lookInterval};
}

ScrollSession::Order ScrollSession::offerTheWheel(Milliseconds now)
{
    m_mode = Mode::manual;
    m_state = State::watching;
    m_notice = Notice::wheelDoesNothing;
    m_offerEnd = now + offerTime;
    return {Order::Kind::look, 0, lookInterval};
}

ScrollSession::Activity ScrollSession::activity() const
{
    if (isLookingBack() && !isProving())
        return Activity::lookingBack;
    if (m_progress.idleSteps > 0 || m_pace.patience > 0ms)
        return Activity::waiting;
    return m_takesAgain > 0 ? Activity::again : Activity::scrolling;
}

// The frame could not be joined. Our own steps are undone and made smaller; if the user has scrolled, only the user can
// go back.
ScrollSession::Order ScrollSession::recover(Milliseconds now, End reason)
{
    if (m_state != State::forth && m_state != State::back) {
        m_state = State::watching;
        m_notice = Notice::placeLost;
        return {Order::Kind::look, 0, lookInterval};
    }
    // Between its doubts a page that loads may by chance look like two of its places.
    m_progress.changes |= reason == End::changed;
    if (++m_progress.recoveries >= (m_progress.changes ? lookLimit : recoveryLimit))
        return giveUp(now, m_progress.changes ? End::changed : reason);
    if (reason == End::changed && m_state == State::forth && ++m_progress.vainLooks > vainLimit)
        return giveUp(now, reason);
    m_pace.smoothSteps = 0;
    if (m_state == State::back) // has not gone back far enough
        return step(now, State::back, reason == End::changed ? m_step.clicks : 1);
    // What has changed is only looked at again. The second time a smaller step may tell more.
    if (reason == End::changed && m_progress.recoveries == 1)
        return undo(now);
    if (m_step.clicks == 1 && reason != End::changed)
        m_pace.fine = true; // steps cannot get smaller, but a smoothly moving view shows intermediate positions
    m_pace.nextClicks = m_pace.mostClicks = std::max(1, m_step.clicks / 2);
    return undo(now);
}

ScrollSession::Order ScrollSession::endByWish()
{
    if (m_wish == Wish::finishIfScrolled && !m_progress.scrolled)
        return endWith(End::cancelled);
    return endWith(m_progress.astray == End::open ? End::wish : m_progress.astray); // what is seen now is not in it
}

ScrollSession::Order ScrollSession::endWith(End end)
{
    m_end = m_progress.isCut && (end == End::content || end == End::wish) ? End::changed : end;
    return {Order::Kind::end, 0, {}};
}

ScrollSession::Notice ScrollSession::obstacle(const Sight &sight) const
{
    if (m_mode == Mode::manual)
        return Notice::none;
    switch (sight.pointer) {
    case Pointer::overPanel: return Notice::pointerOverPanel;
    case Pointer::away: return Notice::pointerAway;
    case Pointer::inside: break;
    }
    if (sight.strange)
        return Notice::otherWindow;
    return sight.held ? Notice::keyHeld : Notice::none;
}

bool ScrollSession::isSettled(Milliseconds now, const Sight &sight) const
{
    const Milliseconds passed = now - *m_step.since;
    if (m_state == State::opening && sight.covered)
        return passed >= timeToPaint;
    if (passed >= (m_state == State::opening ? longestStart
                   : isLookingBack()         ? longestJump
                                             : longest + m_pace.patience))
        return true;
    if (m_step.arrived && m_pace.patience == 0ms && now - *m_step.arrived >= quietTime)
        return true; // what goes on changing is something else, such as a scroll bar that fades
    if (sight.changed)
        return false;
    if (isLookingBack() && passed < 2 * m_pace.slowestAnswer)
        return false; // what has changed may be something else
    if (m_state == State::opening || m_state == State::resuming)
        return calm(now) >= quietTime &&
               passed >= (sight.trusted && m_state == State::opening ? shortest : uncoverTime);
    if (!m_step.lastChange)
        return passed >= answerLimit() && (!isProving() || m_wish != Wish::none);
    if (m_pace.fine && m_state == State::forth && sight.fresh)
        return true; // as in watch()
    return calm(now) >= neededCalm() && passed >= shortest;
}

std::optional<int> ScrollSession::expectedShift() const
{
    if (m_state == State::back)
        return 0;
    const int shift = m_state == State::forth ? m_lookBack.shiftOf(m_step.clicks) : 0;
    return shift > 0 ? std::optional(shift) : std::nullopt;
}

// How long nothing may change until the step counts as over.
ScrollSession::Milliseconds ScrollSession::neededCalm() const
{
    const auto usual = expectedShift() && !m_step.arrived ? elsewhereTime : quietTime;
    return std::max<Milliseconds>(m_pace.patience, usual);
}

// True if the step has shown a movie, which is not over after any wait: what loads pauses on its way.
bool ScrollSession::neverRests(Milliseconds now) const
{
    const bool isOutOfTime = now - *m_step.since >= longest && calm(now) < neededCalm();
    return isOutOfTime && std::max(m_step.pause, calm(now)) < pauseInLoading;
}

// How long nothing has changed.
ScrollSession::Milliseconds ScrollSession::calm(Milliseconds now) const
{
    return now - m_step.lastChange.value_or(*m_step.since);
}

// How long a view may take to respond to the wheel before the step counts as one that moved nothing.
Milliseconds ScrollSession::answerLimit() const
{
    const bool mayBeMovie = m_step.changes > changesOfACaret / 2;
    const bool waitsForMore = m_progress.idleSince && isChecked();
    const Milliseconds least = m_state == State::forth ? 2 * shortestAnswer : shortestAnswer; // that much hangs on it
    const bool isUnsure = m_pace.slowestAnswer == 0ms || mayBeMovie || (m_progress.idleSteps > 0 && !waitsForMore);
    const Milliseconds limit = isUnsure ? longest : std::clamp<Milliseconds>(4 * m_pace.slowestAnswer, least, longest);
    const Milliseconds left = waitsForMore ? *m_progress.idleSince + loadTime - *m_step.since : 0ms;
    return left > 0ms ? std::min(limit, left) : limit; // when its time to load is over, another step is made
}

void ScrollSession::learn(const Joint &joint)
{
    if (m_step.moved)
        m_lookBack.measureNone(); // this was only its end
    else
        m_lookBack.measure(m_step.clicks, joint.shift);
    // The last step of a page is a short one: lower the estimate slowly, as a page may grow while being read.
    m_pace.pixelsPerClick = std::max(double(joint.shift) / m_step.clicks, m_pace.pixelsPerClick * 0.75);
    const int wanted = int(std::lround(stepShare * joint.moving / m_pace.pixelsPerClick));
    // After a while without trouble, try again what was too much before.
    if (++m_pace.smoothSteps % stepsToTrust == 0) {
        m_pace.mostClicks = std::min(2 * m_pace.mostClicks, mostClicks);
        m_pace.fine = false;
        m_pace.patience = lessPatience(m_pace.patience);
    }
    m_pace.nextClicks = std::clamp(wanted, 1, std::min(2 * m_step.clicks + 1, m_pace.mostClicks));
    m_pace.isSteady = m_pace.nextClicks == m_step.clicks && !m_pace.fine;
}

} // namespace qm
