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
constexpr auto restInterval = 30ms;   // while nothing happens
constexpr auto shortest = 40ms;       // minimum duration of a step
constexpr auto longest = 600ms;       // and maximum, even if the screen does not come to rest
constexpr auto longestStart = 1500ms; // until whatever covered the region has faded away
constexpr auto doubtTime = 300ms;     // what still differs then is different
constexpr auto longestJump = 2000ms;  // over many heights, on a slow machine
constexpr auto quietTime = 35ms;      // longer than a slow browser's pause between two frames of one movement
constexpr auto endOfMovement = 20ms;  // its last picture or two may differ by a pixel
constexpr auto elsewhereTime = 200ms; // not where it was expected: a movement pauses on a loaded machine
constexpr auto uncoverTime = 250ms;   // until other programs have repainted what our windows covered
constexpr auto shortestAnswer = 150ms;

constexpr double stepShare = 0.6; // fraction of the moving height; what remains in view has to be recognised
constexpr int stepsToTrust = 6;
constexpr auto loadTime = 2s;                    // in which a list may load more
constexpr int idleLimit = 3;                     // steps, for a view that has not moved yet, or has loaded more
constexpr int recoveryLimit = 5, lookLimit = 10; // the latter where the page changes: it may load several pictures
constexpr int vainLimit = 3; // looks that found nothing changed: it springs back, or goes on changing
constexpr auto firstPatience = 300ms, mostPatience = 1600ms; // with a page that loads what comes into view
constexpr int mostTakesAgain = 2;                            // of the whole page
constexpr int rewindLimit = 40;                              // heights by which a page may have grown
constexpr auto offerTime = 6s;                               // to begin to scroll where the wheel does nothing
constexpr auto pauseInLoading = 250ms; // longer than between two pictures of a movie on a slow machine
constexpr int changesOfACaret = 5;     // while a step shows that nothing moves
constexpr auto timeToPaint = 5000ms;   // for a browser whose page keeps it busy
constexpr int returnRounding = 16;     // pixels
constexpr int hangLimit = 5;           // times longestJump, of a program that is busy
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

// Handles a step that moved nothing.
ScrollSession::Order ScrollSession::idle(Milliseconds now)
{
    ++m_progress.idleSteps;
    m_lookBack.reachEnd();
    if (!m_progress.idleSince)
        m_progress.idleSince = m_step.since;
    const bool isMovie = m_step.changes > changesOfACaret; // of which looking back tells nothing
    if (mayGoOn(isMovie))
        return proceed(now);
    if (!m_progress.scrolled)
        return offerTheWheel(now);
    const bool wasChecked = std::exchange(m_progress.checkedHeight, m_progress.height) == m_progress.height;
    if (wasChecked || m_progress.position <= 0 || (m_progress.stale && m_takesAgain == mostTakesAgain))
        return endWith(End::content);
    const bool canLook = m_lookBack.begin(m_progress.position, m_options.regionHeight,
                                          m_isUnsteady ? LookBack::Extent::thorough : LookBack::Extent::sample);
    m_check = {.scope = isMovie   ? Check::Scope::answerBesideMovie
                        : canLook ? Check::Scope::rows
                                  : Check::Scope::answer};
    if (m_check.scope != Check::Scope::rows)
        return step(now, State::checking, m_lookBack.clicksBack(m_pace.nextClicks));
    return m_progress.stale ? rewind(now, {}) : step(now, State::checking, m_lookBack.nextClicks());
}

// A list has its time to load more, both before and after looking back. Of a page that moves evenly, looking back is part of it:
// one that snaps may only have gone back by itself, and one that has gone on after standing still does so again.
bool ScrollSession::mayGoOn(bool isMovie) const
{
    const bool mayLookBackEarly = m_progress.position > 0 && !m_progress.hesitates && !isMovie && m_lookBack.isEven();
    if (m_progress.idleSteps < (mayLookBackEarly ? 1 : idleLimit))
        return true;
    // The last turn is to find what has loaded by then.
    return isChecked() && *m_step.since - *m_progress.idleSince < loadTime;
}

// True if it was looked back over when it was as high as now, and has come to its end again.
bool ScrollSession::isChecked() const
{
    return m_state == State::forth && m_progress.checkedHeight == m_progress.height;
}

ScrollSession::Order ScrollSession::offerTheWheel(Milliseconds now)
{
    m_mode = Mode::manual;
    m_state = State::watching;
    m_notice = Notice::wheelDoesNothing;
    m_offerEnd = now + offerTime;
    return {Order::Kind::look, 0, lookInterval};
}

ScrollSession::Order ScrollSession::found(Milliseconds now, const Found &found)
{
    switch (m_state) {
    case State::checking: return checked(now, found);
    case State::rewinding: return rewind(now, found);
    default: return returned(now, found);
    }
}

ScrollSession::Order ScrollSession::checked(Milliseconds now, const Found &found)
{
    using Scope = Check::Scope;
    if (m_step.isInterrupted && m_progress.reached == End::content) {
        m_progress.checkedHeight = 0; // where it should be now is not known: it is looked back over once more
        return step(now, State::returning, m_lookBack.clicksForth() + m_pace.nextClicks);
    }
    if (isProving() && found.at) {
        if (*found.at == m_progress.position)
            return proveAgain(now);
        m_check.hasAnswered = m_step.isFirstAnswer = true;
        m_check.hangs = 0;
        return {.kind = Order::Kind::find, .near = m_lookBack.expected()}; // where the page repeats itself, it is there
    }
    if (m_step.isFirstAnswer && found.at) {
        // What the last steps scrolled may come only now. A page that goes its own way does so again.
        const bool isBehind = m_lookBack.isBehind(*found.at, m_pace.nextClicks, m_options.regionHeight);
        if (isBehind && std::exchange(m_progress.heightOfHang, m_progress.height) != m_progress.height)
            return goOnFrom(now, *found.at);
    }
    const bool mayHide = m_check.scope == Scope::answerBesideMovie && !m_check.hasHung;
    if (m_check.scope != Scope::rows && !found.at && !mayHide)
        return goOnFrom(now, m_progress.position); // it has gone on, and further than is known
    if (m_check.scope == Scope::answerBesideMovie)
        return endWith(End::content);
    if (m_check.scope == Scope::rows && !m_lookBack.agrees(found.at)) {
        const int row = found.at.value_or(-1);
        const bool isAtRest = std::exchange(m_step.doubted, row) == row;
        if (!isAtRest && now - *m_step.since < longestJump)
            return {Order::Kind::look, 0, doubtTime};
        if (const int clicks = m_lookBack.clicksToVerify(found.at)) {
            m_check.isVerifying = true;
            return step(now, State::checking, -clicks);
        }
        // What is not found tells nothing where an animation may hide it.
        m_progress.stale = found.at || m_check.isVerifying || calm(now) >= doubtTime;
    }
    m_check.isVerifying = false;
    m_check.lookedAt = found.at.value_or(-1);
    if (m_check.scope == Scope::rows) {
        if (m_progress.stale)
            return m_takesAgain == mostTakesAgain ? endUnproven() : rewind(now, found);
        if (const int clicks = m_lookBack.nextClicks())
            return step(now, State::checking, clicks);
        if (m_progress.reached != End::content)
            return endWith(m_progress.reached);
    }
    return step(now, State::returning, m_lookBack.clicksForth() + m_pace.nextClicks); // there may be more by now
}

ScrollSession::Order ScrollSession::returned(Milliseconds now, const Found &found)
{
    if (!found.at || *found.at >= m_progress.position)
        return joinWhereItIs(); // a list may have loaded more meanwhile
    const bool isNear = *found.at >= m_progress.position - std::min(returnRounding, m_progress.position / 2);
    const bool isStuck = m_check.lookedAt == *found.at && now - *m_step.since >= longestJump;
    if (isNear && isStuck && m_check.hangs == 0)
        return m_progress.checkedHeight > 0 ? endWith(End::content) : proceed(now);
    // What has loaded because it was looked at has moved what is below: then nothing is as it was further up.
    if (m_lookBack.isCounted() && std::exchange(m_progress.heightOfReturn, m_progress.height) != m_progress.height)
        m_progress.checkedHeight = 0;
    return returnFrom(now, *found.at);
}

ScrollSession::Order ScrollSession::joinWhereItIs()
{
    m_state = State::forth;
    m_step.clicks = m_pace.nextClicks;
    m_step.isUncounted = true;
    m_step.changes = 0; // they were the way here
    return join();
}

ScrollSession::Order ScrollSession::proveAgain(Milliseconds now)
{
    m_check.hasHung = true;
    if (now - *m_step.since < longestJump)
        return {Order::Kind::look, 0, restInterval};
    if (++m_check.hangs == hangLimit)
        return endWith(End::unanswered);
    // So many may just cancel what the last steps scroll when it goes on.
    return step(now, State::checking, m_lookBack.clicksBack(m_pace.nextClicks));
}

// The program was busy when nothing moved any more.
ScrollSession::Order ScrollSession::goOnFrom(Milliseconds now, int row)
{
    m_progress.idleSteps = m_progress.checkedHeight = 0;
    m_progress.idleSince.reset();
    m_progress.hesitates = true;
    m_check.lookedAt = -1; // it moves
    return row < m_progress.position ? returnFrom(now, row) : joinWhereItIs();
}

// It has not come as far as it was: the program may be busy again, or the page goes its own way.
ScrollSession::Order ScrollSession::returnFrom(Milliseconds now, int row)
{
    if (std::exchange(m_check.lookedAt, row) == row) {
        if (now - *m_step.since < longestJump)
            return {Order::Kind::look, 0, restInterval};
        if (++m_check.hangs >= hangLimit)
            return endWith(End::unanswered);
    }
    return step(now, State::returning, m_lookBack.clicksOver(m_progress.position - row) + m_pace.nextClicks);
}

// Where the page cannot be taken again.
ScrollSession::Order ScrollSession::endUnproven()
{
    const bool isProven = m_check.hasAnswered || m_progress.reached != End::content;
    return endWith(isProven ? m_progress.reached : End::unanswered);
}

// Goes back until the beginning is seen. Where it does not look as it did, or the region was drawn further down, the page's
// upper end is reached instead.
ScrollSession::Order ScrollSession::rewind(Milliseconds now, const Found &found)
{
    // At its first row a picture may look otherwise than before, if only because a scroll bar comes and goes over it.
    if (found.isBeginning || found.at == 0) {
        ++m_takesAgain;
        m_earlierEnd = m_progress.reached;
        m_earlierHeight = m_progress.height;
        m_state = State::opening;
        m_step = {};
        m_progress = {.scrolled = m_progress.scrolled};
        m_lookBack.beginAgain();
        return {.kind = Order::Kind::again};
    }
    const bool isStuck = m_state == State::rewinding && !m_step.lastChange && !m_step.isInterrupted;
    if (isStuck || ++m_progress.rewinds > rewindLimit)
        return endUnproven();
    return step(now, State::rewinding, m_lookBack.clicksHome());
}

// That nothing moves any more is the end of the page, unless its program is only busy: then it does not go back either.
bool ScrollSession::isProving() const
{
    return m_state == State::checking && !m_check.hasAnswered;
}

bool ScrollSession::isLookingBack() const
{
    return m_state == State::checking || m_state == State::returning || m_state == State::rewinding;
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

// Where the page has changed too much, all of it may be taken once more. Where it is only too much alike, that is in vain.
ScrollSession::Order ScrollSession::giveUp(Milliseconds now, End reason)
{
    const bool mayHelp = (reason == End::changed || reason == End::lost) &&
                         m_progress.height > m_earlierHeight; // further than the last time
    m_progress.reached = reason;
    if (mayHelp && m_takesAgain < mostTakesAgain) {
        m_lookBack.begin(m_progress.position, m_options.regionHeight);
        m_state = State::rewinding; // it may be here
        m_step.lastChange = now;
        return {.kind = Order::Kind::find};
    }
    // What is too much alike may only not be painted yet.
    if (reason != End::ambiguous || !m_progress.scrolled ||
        !m_lookBack.begin(m_progress.position, m_options.regionHeight, LookBack::Extent::end))
        return endWith(reason);
    m_lookBack.loseCount();
    m_check = {.hasAnswered = true};
    Order order = step(now, State::checking, m_state == State::forth ? m_step.clicks + m_step.ahead : 0);
    order.wait = timeToPaint;
    return order;
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
