#include "platform/QtQueue.h"

#include <QCoreApplication>
#include <QTimer>

namespace qm {

using namespace std::chrono_literals;

QtQueue::QtQueue()
    : m_context(QCoreApplication::instance())
{
    Q_ASSERT_X(m_context, "QtQueue::main", "asked before the application object exists");
}

QtQueue::QtQueue(const QString &label)
    : m_context(new QObject)
{
    m_thread.setObjectName(label);
    m_context->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_context, &QObject::deleteLater);
    m_thread.start();
}

QtQueue::~QtQueue()
{
    // A task that overruns the limit uses what is about to be destroyed; waiting is all we can do.
    if (m_thread.isRunning() && !stop(2s))
        m_thread.wait();
}

TaskQueue &QtQueue::main()
{
    static QtQueue queue;
    return queue;
}

void QtQueue::post(std::function<void()> task)
{
    QMetaObject::invokeMethod(m_context, std::move(task), Qt::QueuedConnection);
}

Timer QtQueue::postAfter(std::chrono::milliseconds delay, std::function<void()> task)
{
    std::function<void()> guarded;
    Timer timer = Timer::arm(std::move(task), guarded);
    QTimer::singleShot(delay, m_context, std::move(guarded));
    return timer;
}

bool QtQueue::isCurrent() const
{
    return m_context->thread() == QThread::currentThread();
}

bool QtQueue::stop(std::chrono::milliseconds limit)
{
    m_thread.requestInterruption();
    m_thread.quit();
    return m_thread.wait(QDeadlineTimer(limit));
}

} // namespace qm
