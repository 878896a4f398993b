#pragma once

#include "platform/QtQueue.h"

#include <QThreadPool>

#include <memory>

namespace qm {

// Work on a thread of its own of which only the newest answer counts: a search while its user types, a picture for a view
// that has moved on. Main thread, which also gets the answers.
class LatestJob
{
public:
    LatestJob() { m_pool.setMaxThreadCount(1); }
    // No answer comes any more; returns when the work in hand is done.
    ~LatestJob()
    {
        drop();
        m_pool.waitForDone();
    }
    Q_DISABLE_COPY_MOVE(LatestJob)

    // Runs work() on the thread, and then done(what it returned), unless something newer was started, or this is gone.
    template<class Work, class Done>
    void start(Work work, Done done)
    {
        m_pool.clear(); // what nobody waits for any more
        m_pool.start([work = std::move(work), answer = newest(std::move(done))] {
            QtQueue::main().post([answer, result = work()] { answer(result); });
        });
    }

    // For work that somebody else does: calls done under the same conditions, on this thread.
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

    void drop() // what is under way
    {
        m_pool.clear();
        m_newest.reset();
    }
    bool isUnderWay() const { return bool(m_newest); }

private:
    std::shared_ptr<bool> m_newest; // lives as long as the newest answer is waited for
    QThreadPool m_pool;
};

} // namespace qm
