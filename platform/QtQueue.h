#pragma once

#include "platform/TaskQueue.h"

#include <QObject>
#include <QString>
#include <QThread>

namespace qm {

// A TaskQueue backed by a thread with an event loop, started by the constructor. post and postAfter: any thread. The
// destructor stops the queue and drops tasks that have not begun.
class QtQueue : public TaskQueue
{
public:
    explicit QtQueue(const QString &label);
    ~QtQueue() override;

    // The queue of the thread that runs QCoreApplication.
    static TaskQueue &main();

    void post(std::function<void()> task) override;
    Timer postAfter(std::chrono::milliseconds delay, std::function<void()> task) override;
    bool isCurrent() const override;

    // Ends the thread after the current task, which is asked to hurry: a ChildProcess it waits for is ended. False if
    // the task has not finished within the limit; the thread then still runs.
    bool stop(std::chrono::milliseconds limit);

private:
    QtQueue(); // the main queue: no thread of its own

    QThread m_thread;
    QObject *m_context; // lives on the queue's thread and receives the tasks
};

} // namespace qm
