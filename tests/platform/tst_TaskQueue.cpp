#include "platform/QtQueue.h"
#include "tests/support/ManualQueue.h"

#include <QSemaphore>
#include <QTest>

using namespace qm;
using namespace std::chrono_literals;

class tst_TaskQueue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tasksRunInOrderOnTheQueue()
    {
        QtQueue queue(QStringLiteral("test"));
        QList<int> seen;
        for (int i = 0; i < 100; ++i)
            queue.post([&, i] { seen.append(queue.isCurrent() ? i : -1); });
        queue.run([&] { seen.append(100); });
        QVERIFY(!queue.isCurrent());
        QCOMPARE(seen.size(), 101);
        QVERIFY(std::is_sorted(seen.begin(), seen.end()) && seen.first() == 0);
    }

    void runFromTheQueueItselfDoesNotWait()
    {
        QtQueue queue(QStringLiteral("test"));
        bool inner = false;
        queue.run([&] { queue.run([&] { inner = true; }); });
        QVERIFY(inner);
    }

    void aTimerRunsOnceAndOnlyWhileItLives()
    {
        QtQueue queue(QStringLiteral("test"));
        QSemaphore fired;
        int cancelled = 0;
        Timer kept, dropped, replaced;
        queue.run([&] {
            dropped = queue.postAfter(1ms, [&] { ++cancelled; });
            replaced = queue.postAfter(1ms, [&] { ++cancelled; });
            kept = queue.postAfter(5ms, [&] { fired.release(); });
            dropped.cancel();
            replaced = Timer();
            QVERIFY(kept.isActive() && !dropped.isActive());
        });
        QVERIFY(fired.tryAcquire(1, 5000));
        queue.run([&] { QVERIFY(!kept.isActive()); });
        QCOMPARE(cancelled, 0);
    }

    void stopIsBounded()
    {
        QtQueue queue(QStringLiteral("test"));
        QSemaphore begun, release;
        queue.post([&] {
            begun.release();
            release.acquire();
        });
        begun.acquire();
        QVERIFY(!queue.stop(20ms));
        release.release();
        QVERIFY(queue.stop(10s));
    }

    void virtualTime()
    {
        ManualQueue queue;
        QStringList log;
        Timer second = queue.postAfter(20ms, [&] { log << QStringLiteral("b%1").arg(queue.now().count()); });
        Timer chained;
        Timer first = queue.postAfter(10ms, [&] {
            log << QStringLiteral("a%1").arg(queue.now().count());
            chained = queue.postAfter(5ms, [&] { log << QStringLiteral("c%1").arg(queue.now().count()); });
        });
        queue.advance(9ms);
        QCOMPARE(log, QStringList());
        queue.advance(100ms);
        QCOMPARE(log, QStringList({QStringLiteral("a10"), QStringLiteral("c15"), QStringLiteral("b20")}));
        QCOMPARE(queue.now(), 109ms);
    }
};

QTEST_GUILESS_MAIN(tst_TaskQueue)
#include "tst_TaskQueue.moc"
