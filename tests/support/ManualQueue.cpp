#include "tests/support/ManualQueue.h"

namespace qm {

void ManualQueue::post(std::function<void()> task)
{
    m_tasks.push_back(std::move(task));
}

Timer ManualQueue::postAfter(std::chrono::milliseconds delay, std::function<void()> task)
{
    std::function<void()> guarded;
    Timer timer = Timer::arm(std::move(task), guarded);
    m_timers.emplace(m_now + delay, std::move(guarded));
    return timer;
}

void ManualQueue::drain()
{
    while (!m_tasks.empty()) {
        const std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        task();
    }
}

void ManualQueue::advance(std::chrono::milliseconds by)
{
    const std::chrono::milliseconds end = m_now + by;
    drain();
    while (!m_timers.empty() && m_timers.begin()->first <= end) {
        m_now = m_timers.begin()->first;
        const std::function<void()> task = std::move(m_timers.begin()->second);
        m_timers.erase(m_timers.begin());
        task();
        drain();
    }
    m_now = end;
}

} // namespace qm
