#pragma once

#include "platform/QtQueue.h"

#include <QThreadPool>

#include <chrono>
#include <memory>

namespace qm {

// Background work of which only the latest result counts: a search while the user types, a picture for a view that has
// moved on. Main thread, which also receives the results.
class LatestJob
{
public:
    // More than one thread: newer work need not wait for older that is stuck, in a network folder say.
    explicit LatestJob(int threads = 1) { m_pool.setMaxThreadCount(threads); }
    // No result arrives any more; returns when the current work is done.
    ~LatestJob()
    {
        drop();
        m_pool.waitForDone();
    }
    Q_DISABLE_COPY_MOVE(LatestJob)

    // Runs work() on the thread, then done(result) on the main thread unless something newer was started or this was
    // destroyed.
    template<class Work, class Done>
    void start(Work work, Done done)
    {
        m_pool.clear(); // drop work that is no longer wanted
        m_pool.start([work = std::move(work), answer = newest(std::move(done))] {
            QtQueue::main().post([answer, result = work()] { answer(result); });
        });
    }

    // For asynchronous work done elsewhere: wraps done so that it runs under the same conditions, on this thread.
    template<class Done>
    auto newest(Done done)
    {
        m_newest = std::make_shared<bool>();
        return [this, mine = std::weak_ptr(m_newest), done = std::move(done)](const auto &result) {
            if (mine.expired())
                return;
            m_newest.reset();
            done(result);
        };
    }

    void drop() // discards the current work
    {
        m_pool.clear();
        m_newest.reset();
    }
    bool isUnderWay() const { return bool(m_newest); }

    // Drops the work and waits for it; false if it is still busy after the limit.
    bool stop(std::chrono::milliseconds limit)
    {
        drop();
        return m_pool.waitForDone(int(limit.count()));
    }

private:
    std::shared_ptr<bool> m_newest; // alive as long as the latest result is awaited
    QThreadPool m_pool;
};

} // namespace qm
