#include "platform/ChildProcess.h"
#include "platform/QtQueue.h"
#include "tests/support/TempHome.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>

using namespace qm;
using namespace std::chrono_literals;

class tst_ChildProcess : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;

private Q_SLOTS:
    void output_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("output");
        const QByteArray large(3'000'000, 'x');
        QTest::newRow("all of the input comes back, beyond what a pipe holds") << QByteArray("cat") << large << large;
        QTest::newRow("exits without reading") << QByteArray("echo early; exit 3") << large << QByteArray("early\n");
        QTest::newRow("killed in the middle of a line")
            << QByteArray("printf half; kill -9 $$") << QByteArray("in") << QByteArray("half");
        QTest::newRow("goes on after closing its output")
            << QByteArray("echo a; exec >&-; sleep 0.3") << QByteArray() << QByteArray("a\n");
        QTest::newRow("what it says on standard error is not output")
            << QByteArray("echo no >&2; echo yes") << QByteArray() << QByteArray("yes\n");
    }
    void output()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, input);
        QByteArray pieces;
        const auto result = ChildProcess::run(m_home.script(QStringLiteral("child"), script), {}, input,
                                              [&](const QByteArray &piece) { pieces += piece; });
        QVERIFY(result);
        QTEST(*result, "output");
        QCOMPARE(pieces, *result);
    }

    void argumentsAreNotReadByAShell()
    {
        const QStringList arguments{QStringLiteral("a b"), QStringLiteral("$HOME;'\"*"), QString()};
        const auto result = ChildProcess::run(m_home.script(QStringLiteral("child"), "printf '%s|' \"$@\""), arguments);
        QCOMPARE(*result, QByteArray("a b|$HOME;'\"*||"));
    }

    void cannotBeStarted_data()
    {
        QTest::addColumn<QString>("program");
        m_home.write(QStringLiteral("plain"), "echo no");
        QTest::newRow("missing") << m_home.file(QStringLiteral("none"));
        QTest::newRow("not executable") << m_home.file(QStringLiteral("plain"));
        QTest::newRow("a folder") << m_home.path();
    }
    void cannotBeStarted()
    {
        QFETCH(QString, program);
        QVERIFY(!ChildProcess::run(program, {}, "input"));
    }

    void stoppingTheQueueEndsTheChild()
    {
        const QString script =
            m_home.script(QStringLiteral("child"), "trap '' TERM; echo $$; while :; do sleep 1; done");
        QtQueue queue(QStringLiteral("test"));
        std::atomic<pid_t> child{0};
        QByteArray output;
        queue.post([&] {
            output = ChildProcess::run(script, {}, {}, [&](const QByteArray &piece) {
                         child = piece.trimmed().toInt();
                     }).value_or("not started");
        });
        QTRY_VERIFY(child != 0);
        QVERIFY(queue.stop(10s));
        QCOMPARE(output.trimmed().toInt(), int(child)); // what it printed so far is kept
        QVERIFY(kill(child, 0) != 0);
    }
};

QTEST_GUILESS_MAIN(tst_ChildProcess)
#include "tst_ChildProcess.moc"
