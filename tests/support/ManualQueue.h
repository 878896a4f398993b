#pragma once

#include "platform/TaskQueue.h"

#include <deque>
#include <map>

namespace qm {

// A queue with a clock that moves only when told: timers fire in order, at once, on the calling thread.
class ManualQueue : public TaskQueue
{
public:
    void post(std::function<void()> task) override;
    Timer postAfter(std::chrono::milliseconds delay, std::function<void()> task) override;
    bool isCurrent() const override { return true; }

    bool hasTasks() const { return !m_tasks.empty(); }
    void drain();                               // runs what is posted, and what that posts
    void advance(std::chrono::milliseconds by); // runs all that falls due meanwhile, each at its own time
    std::chrono::milliseconds now() const { return m_now; }

private:
    std::chrono::milliseconds m_now{0};
    std::deque<std::function<void()>> m_tasks;
    std::multimap<std::chrono::milliseconds, std::function<void()>> m_timers;
};

} // namespace qm
