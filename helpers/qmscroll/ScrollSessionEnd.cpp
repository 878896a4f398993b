// What a session does where nothing more comes: it waits for lists that load more, looks further up whether the page is as it was
// taken, comes back, or takes the page again.

#include "helpers/qmscroll/ScrollSession.h"

#include <algorithm>
#include <utility>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto doubtTime = 300ms;  // what still differs then is different
static constexpr int idleLimit = 3;       // steps, for a view that has not moved yet, or has loaded more
static constexpr int mostTakesAgain = 2;  // of the whole page
static constexpr int rewindLimit = 40;    // heights by which a page may have grown
static constexpr int returnRounding = 16; // pixels
static constexpr int hangLimit = 5;       // times longestJump, of a program that is busy

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

} // namespace qm
