#pragma once

#include "platform/TaskQueue.h"

#include <deque>
#include <map>
#include <utility>

namespace qm {

// A queue with a clock that moves only when told: timers fire in order, at once, on the calling thread.
class ManualQueue : public TaskQueue
{
public:
    void post(std::function<void()> task) override { m_tasks.push_back(std::move(task)); }
    Timer postAfter(std::chrono::milliseconds delay, std::function<void()> task) override
    {
        std::function<void()> guarded;
        Timer timer = Timer::arm(std::move(task), guarded);
        m_timers.emplace(m_now + delay, std::move(guarded));
        return timer;
    }
    bool isCurrent() const override { return true; }

    bool hasTasks() const { return !m_tasks.empty(); }
    void drain() // runs what is posted, and what that posts
    {
        while (!m_tasks.empty()) {
            const std::function<void()> task = std::move(m_tasks.front());
            m_tasks.pop_front();
            task();
        }
    }
    void advance(std::chrono::milliseconds by) // runs all that falls due meanwhile, each at its own time
    {
        const std::chrono::milliseconds end = m_now + by;
        drain();
        while (!m_timers.empty() && m_timers.begin()->first <= end) {
            m_now = m_timers.begin()->first;
            m_timers.extract(m_timers.begin()).mapped()();
            drain();
        }
        m_now = end;
    }
    std::chrono::milliseconds now() const { return m_now; }

private:
    std::chrono::milliseconds m_now{0};
    std::deque<std::function<void()>> m_tasks;
    std::multimap<std::chrono::milliseconds, std::function<void()>> m_timers;
};

} // namespace qm
