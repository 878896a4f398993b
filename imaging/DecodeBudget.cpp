#include "imaging/DecodeBudget.h"

#include "platform/Memory.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdlib>

namespace qm {

static constexpr qint64 unit = 1024; // a semaphore counts in int
static constexpr int largeUnits = 64 * 1024;
static constexpr qint64 everything = 512'000'000;

static thread_local int sharesHeld = 0;

static bool isMainThread()
{
    const QCoreApplication *application = QCoreApplication::instance();
    return application && application->thread() == QThread::currentThread();
}

DecodeBudget &DecodeBudget::shared()
{
    static DecodeBudget budget(everything);
    return budget;
}

DecodeBudget::DecodeBudget(qint64 bytes)
    : m_units(int(bytes / unit))
    , m_free(m_units)
{
}

qint64 DecodeBudget::all() const
{
    return m_units * unit;
}

DecodeBudget::Share DecodeBudget::take(qint64 bytes)
{
    Share share;
    if (bytes > all())
        return share;
    const int units = int((bytes + unit - 1) / unit);
    if (sharesHeld > 0 || isMainThread()) {
        if (!m_free.tryAcquire(units))
            return share;
    } else {
        m_turn.acquire();
        m_free.acquire(units);
        m_turn.release();
    }
    ++sharesHeld;
    share.m_from = this;
    share.m_units = units;
    return share;
}

DecodeBudget::Share::~Share()
{
    if (!m_from)
        return;
    --sharesHeld;
    if (m_units > largeUnits) // or the allocator would keep dozens of megabytes for each thread
        Memory::returnFree();
    m_from->m_free.release(m_units);
}

} // namespace qm
