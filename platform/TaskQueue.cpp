#include "platform/TaskQueue.h"

#include <QSemaphore>

namespace qm {

Timer Timer::arm(std::function<void()> task, std::function<void()> &guarded)
{
    Timer timer;
    timer.m_armed = std::make_shared<bool>(true);
    guarded = [armed = std::weak_ptr<bool>(timer.m_armed), task = std::move(task)] {
        const std::shared_ptr<bool> pending = armed.lock();
        if (!pending)
            return;
        *pending = false;
        task();
    };
    return timer;
}

void TaskQueue::run(const std::function<void()> &task)
{
    if (isCurrent()) {
        task();
        return;
    }
    QSemaphore done;
    post([&] {
        task();
        done.release();
    });
    done.acquire();
}

} // namespace qm
