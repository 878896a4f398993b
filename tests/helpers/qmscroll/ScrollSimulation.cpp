#include "tests/helpers/qmscroll/ScrollSimulation.h"

#include <algorithm>
#include <utility>

namespace qm::simulated {

Simulation::Simulation(const Case &of)
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

void Simulation::move(double by)
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

void Simulation::turn(int clicks)
{
    isPatient &= pointer == Pointer::inside && !held && m_mode == Mode::automatic;
    now += std::abs(clicks) * view.turning;
    const bool isLossy = std::abs(clicks) > 10 && ++m_longTurns == view.losesIn;
    const bool isShort = view.losesAt && position() >= view.losesAt && !std::exchange(m_hasLost, true);
    move(view.isDeaf ? 0 : (clicks + (isLossy ? 2 : 0) - (isShort ? 2 : 0)) * view.pixelsPerClick);
    m_session.turned(now);
}

int Simulation::position() const
{
    if (now - m_moved < m_answer)
        return int(m_from);
    Milliseconds since = (now - m_moved - m_answer) / view.picture * view.picture;
    if (view.pausesAt && m_from >= view.pausesAt && m_from < view.pausesAt + region)
        since = std::max(std::min(since, 100ms), since - 60ms);
    const double share = view.smooth == 0ms ? 1 : std::min(1.0, double(since / 1ms) / (view.smooth / 1ms));
    return int(m_from + (m_to - m_from) * share);
}

int Simulation::shown() const
{
    const bool isHidden = position() >= view.growsAt && !m_isAgain;
    return position() - (isHidden ? m_grown : 0);
}

std::optional<int> Simulation::find() const
{
    const int from = position() + region / 3; // what is above may be a header
    const bool isNew = m_grown > 0 && !m_isAgain && position() > view.growsAt - region && from < view.growsAt + m_grown;
    const bool isBehind = shown() > furthest + region / 3; // less than half of what counts is in the picture
    const bool isElsewhere = view.beginsLow && shown() == 0;
    const bool isFilled = view.fillsAt && !m_isAgain && position() > view.fillsAt - region && from < view.fillsAt + 100;
    const bool isPainted =
        view.isPaintedLate && !m_isAgain && position() + 2 * region > view.blankFrom && from < view.blankFrom + 700;
    return isNew || isBehind || isElsewhere || isFilled || isPainted ? std::nullopt : std::optional(shown());
}

Order Simulation::beginAgain()
{
    m_isAgain = true;
    joins.clear();
    furthest = m_at = 0;
    return {Order::Kind::join};
}

void Simulation::grow()
{
    if (view.growsAt == 0 || m_grown > 0 || position() < view.growsAt + 2 * region)
        return;
    m_grown = 300;
    m_from += m_grown;
    m_to += m_grown;
}

void Simulation::loadMore()
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

ScrollSession::Sight Simulation::sight()
{
    ScrollSession::Sight sight;
    loadMore();
    grow();
    const int moment = isPainting() && view.painting > 0ms ? int(now / 5ms)
                       : view.animation == 0ms             ? signs()
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

Order Simulation::join(const Order &order)
{
    const int at = shown(), shift = at - m_at;
    const bool isAnimated = view.isWide && m_joined.second != m_frame.second;
    m_joined = m_frame;
    const bool isNew = std::exchange(m_joinedSigns, signs()) != signs() || isAnimated;
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

EvenView::EvenView(int limit)
    : session({.mode = Mode::automatic, .regionHeight = region, .heightLimit = limit})
{
    next();
    joined(Step::first);
    while (next().clicks == 0 && height < limit)
        joined(Step::joined);
}

Order EvenView::next()
{
    for (bool changed = true;; changed = false) {
        const Order order = session.look(m_now, {.changed = changed, .fresh = true, .arrived = true});
        if (order.kind != Order::Kind::look) {
            m_ahead = order.clicks;
            return order;
        }
        m_now += order.wait;
    }
}

Order EvenView::joined(Step step)
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

} // namespace qm::simulated
