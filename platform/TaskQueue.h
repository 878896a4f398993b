#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace qm {

// Handle of a delayed task, which runs only while its timer lives. Destroy or reassign it to cancel, on the queue that
// the task would run on (elsewhere the task may just be starting).
class Timer
{
public:
    Timer() = default;
    // Creates an armed timer and the task to queue for it, which does nothing once the timer is gone.
    static Timer arm(std::function<void()> task, std::function<void()> &guarded);

    bool isActive() const { return m_armed && *m_armed; }
    void cancel() { m_armed.reset(); }

private:
    std::shared_ptr<bool> m_armed; // true until the task has started
};

// A serial queue: tasks run one at a time, in order. Time is injected here: QtQueue in the application, ManualQueue
// with its virtual clock in tests.
class TaskQueue
{
public:
    virtual ~TaskQueue() = default;

    virtual void post(std::function<void()> task) = 0; // any thread
    [[nodiscard]] virtual Timer postAfter(std::chrono::milliseconds delay, std::function<void()> task) = 0;
    virtual bool isCurrent() const = 0;

    // Posts the task and waits until it has run. On the queue itself it runs at once, since waiting would deadlock.
    void run(const std::function<void()> &task);
};

} // namespace qm
