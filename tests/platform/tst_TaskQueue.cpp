#include "platform/ChildProcess.h"
#include "platform/QtQueue.h"
#include "tests/support/TempHome.h"

#include <QSemaphore>
#include <QTest>

#include <csignal>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// Queues, and the child processes that are waited for on them.
class tst_TaskQueue : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;

private Q_SLOTS:
    void tasksRunInOrderOnTheQueue()
    {
        QtQueue queue(u"test"_s);
        QList<int> seen, expected;
        for (int i = 0; i < 100; ++i) {
            queue.post([&, i] { seen.append(queue.isCurrent() ? i : -1); });
            expected.append(i);
        }
        queue.run([&] { queue.run([&] { seen.append(100); }); }); // from the queue itself without waiting
        QCOMPARE(seen, expected << 100);
        QVERIFY(!queue.isCurrent());
    }

    void aTimerRunsOnceAndOnlyWhileItLives()
    {
        QtQueue queue(u"test"_s);
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
        QtQueue queue(u"test"_s);
        QSemaphore begun, release;
        queue.post([&] {
            begun.release();
            release.tryAcquire(1, 5000);
        });
        begun.acquire();
        QVERIFY(!queue.stop(20ms));
        release.release();
        QVERIFY(queue.stop(10s));
    }

    void stopEndsTheChildThatIsWaitedFor()
    {
        const QString script = m_home.script(u"child"_s, "trap '' TERM; echo $$; while :; do sleep 1; done");
        QtQueue queue(u"test"_s);
        std::atomic<pid_t> child{0};
        QByteArray output;
        queue.post([&] {
            const auto received = [&](const QByteArray &piece) { child = piece.trimmed().toInt(); };
            output = ChildProcess::run(script, {}, {}, received).value().output;
        });
        QTRY_VERIFY(child != 0);
        QVERIFY(queue.stop(10s));
        QCOMPARE(output.trimmed().toInt(), int(child)); // what it printed so far is kept
        QVERIFY(kill(child, 0) != 0);
    }

    void whatAChildSays()
    {
        const QByteArray large(3'000'000, 'x');
        const QByteArrayList rows[] = {
            {"cat", large, large}, // beyond what a pipe holds
            {"echo early; exit 3", large, "early\n"},
            {"printf half; kill -9 $$", large, "half"},
            {"echo a; exec >&-; sleep 0.1; echo why >&2", "", "a\n", "why\n"}, // goes on after closing its output
            {"printf '%s|' \"$@\"", "", "a b|$HOME;'\"*||"},                   // what no shell has read
        };
        for (const QByteArrayList &row : rows) {
            QByteArray pieces;
            const auto result = ChildProcess::run(m_home.script(u"child"_s, row[0]), {u"a b"_s, u"$HOME;'\"*"_s, u""_s},
                                                  row[1], [&](const QByteArray &piece) { pieces += piece; });
            QCOMPARE(result->output, row[2]);
            QCOMPARE(result->errors, row.value(3));
            QCOMPARE(pieces, row[2]);
        }
        m_home.write(u"plain"_s, "not executable");
        for (const QString &program : {m_home.file(u"none"_s), m_home.file(u"plain"_s), m_home.path()})
            QVERIFY(!ChildProcess::run(program, {}, "input"));
    }
};

QTEST_GUILESS_MAIN(tst_TaskQueue)
#include "tst_TaskQueue.moc"
