// The trigger key on Wayland: from sway's bindings, from what qmkeys says, and which of them it is heard by.

#include "capture/HotkeyTrigger.h"
#include "platform/linux/KeyMonitorWayland.h"
#include "platform/wayland/SwayIpc.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/SwayDesktop.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>
#include <sys/socket.h>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Steps = std::function<void(SwayDesktop &)>;

Q_DECLARE_METATYPE(Steps)

class tst_WaylandKeys : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tells_data()
    {
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<QString>("told");
        const auto row = [](const char *name, const QString &told, const Steps &steps) {
            QTest::newRow(name) << steps << told;
        };
        row("tap", u"tap"_s, [](SwayDesktop &d) { d.tap(Key::rightShift); });
        row("hold, told at its end", u"hold"_s, [](SwayDesktop &d) {
            d.keyDown(Key::rightShift);
            QElapsedTimer time;
            time.start();
            QVERIFY(Desktop::wait([&] { return time.hasExpired(250); }));
            d.keyUp(Key::rightShift);
        });
        row("chord with a letter", {}, [](SwayDesktop &d) {
            d.keyDown(Key::rightShift);
            d.tap(Key::space);
            d.keyUp(Key::rightShift);
        });
        row("the left Shift key", {}, [](SwayDesktop &d) { d.tap(Key::leftShift); });
        row("Ctrl is held", {}, [](SwayDesktop &d) {
            d.keyDown(Key::leftControl);
            d.tap(Key::rightShift);
            d.keyUp(Key::leftControl);
        });
        row("Caps Lock is on", u"tap"_s, [](SwayDesktop &d) {
            d.tap(Key::capsLock);
            d.tap(Key::rightShift);
            d.tap(Key::capsLock);
        });
        row("after sway has read its configuration again", u"tap"_s, [this](SwayDesktop &d) {
            const pid_t sway = processOfSway();
            for (const QString &word : {u"reload"_s, u"nop"_s})
                QVERIFY(d.start(u"swaymsg"_s, {u"--"_s, word}).waitForFinished());
            kill(sway, SIGSTOP);
            QCoreApplication::processEvents(); // only now the reload is seen, and sway too busy to bind
            kill(sway, SIGCONT);
            // Until it is bound again.
            QVERIFY(Desktop::wait([&] { return d.tap(Key::rightShift), tells(1, 2s); }));
        });
        row("sway was too busy at the start", u"tap"_s, [this](SwayDesktop &d) {
            m_monitor.reset();
            const pid_t sway = processOfSway();
            kill(sway, SIGSTOP);
            listenAtOnce({});
            QCoreApplication::processEvents();
            const KeyRoad meanwhile = m_monitor->road();
            kill(sway, SIGCONT);
            QCOMPARE(meanwhile, KeyRoad::none);
            QVERIFY(Desktop::wait([this] { return m_monitor->road() == KeyRoad::compositor; }));
            d.tap(Key::rightShift);
        });
    }

    void tells()
    {
        QFETCH(Steps, steps);
        QFETCH(QString, told);
        listen({});
        QCOMPARE(m_monitor->road(), KeyRoad::compositor);
        steps(m_desktop);
        m_desktop.tap(Key::rightShift); // marks the end
        const QStringList all = told.isEmpty() ? QStringList(u"tap"_s) : QStringList{told, u"tap"_s};
        QVERIFY(tells(all.size()));
        m_desktop.command(u"nop"_s); // answered after what it has told before
        QCOMPARE(m_told, all);
    }

    void bindsAnotherKeyAndLeavesNothing()
    {
        listen({});
        m_trigger.setHotkey({HotkeyModifier::rightControl});
        m_monitor->setTrigger(keyCode(HotkeyModifier::rightControl));
        m_desktop.tap(Key::rightShift);
        m_desktop.tap(Key::rightControl);
        QVERIFY(tells(1));
        m_desktop.command(u"nop"_s);
        QCOMPARE(m_told.size(), 1);
        m_monitor.reset();
        for (const QString &code : {u"62"_s, u"--release 62"_s, u"105"_s, u"--release 105"_s})
            QVERIFY(m_desktop.run(u"swaymsg"_s, {u"-r"_s, u"--"_s, u"unbindcode "_s + code})
                        .contains("\"success\": false"));
    }

    void understandsTheProgram_data()
    {
        QTest::addColumn<QString>("lines");
        QTest::addColumn<bool>("isTap");
        QTest::newRow("tap") << u"'down rightShift' 'up rightShift'"_s << true;
        QTest::newRow("chord with a key") << u"'down rightShift' key 'up rightShift'"_s << false;
        QTest::newRow("Ctrl is held") << u"'down leftControl' 'down rightShift' 'up rightShift'"_s << false;
        QTest::newRow("twins") << u"'down rightShift' 'down leftShift' 'up leftShift' 'up rightShift'"_s << false;
        QTest::newRow("it ends with the key down") << u"'down rightShift'"_s << false;
    }

    void understandsTheProgram()
    {
        QFETCH(QString, lines);
        QFETCH(bool, isTap);
        listen("printf '%s\\n' ready " + lines.toUtf8());
        QVERIFY(Desktop::wait([this] { return m_monitor->road() == KeyRoad::compositor; })); // it has ended
        m_queue.advance(1s);
        QCOMPARE(m_told, isTap ? QStringList(u"tap"_s) : QStringList());
    }

    void followsTheProgramsRights()
    {
        listen("test -e $0.allowed || exit 1; echo ready; exec sleep 60");
        QVERIFY(Desktop::wait([this] { return m_monitor->road() == KeyRoad::compositor; }));
        m_home.write(u"qmkeys.allowed"_s, {});
        QVERIFY(QFile::setPermissions(m_home.file(u"qmkeys"_s), QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(Desktop::wait([this] { return m_monitor->road() == KeyRoad::inputDevices; }));
        m_desktop.tap(Key::rightShift); // is not told twice
        QVERIFY(QFile::remove(m_home.file(u"qmkeys.allowed"_s)));
        QVERIFY(
            QFile::setPermissions(m_home.file(u"qmkeys"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(Desktop::wait([this] { return m_monitor->road() == KeyRoad::compositor; }));
        m_desktop.tap(Key::rightShift);
        QVERIFY(tells(1));
        m_desktop.command(u"nop"_s);
        QCOMPARE(m_told.size(), 1);
    }

private:
    static pid_t processOfSway()
    {
        ucred sway = {};
        socklen_t size = sizeof sway;
        getsockopt(SwayIpc::connect()->descriptor(), SOL_SOCKET, SO_PEERCRED, &sway, &size);
        return sway.pid;
    }
    void listen(const QByteArray &program)
    {
        listenAtOnce(program);
        if (program.isEmpty())
            QVERIFY(Desktop::wait([this] { return m_monitor->road() == KeyRoad::compositor; }));
    }
    void listenAtOnce(const QByteArray &program)
    {
        m_told.clear();
        m_trigger.setHotkey({HotkeyModifier::rightShift, 0.2});
        m_home.write(u"qmkeys"_s, "#!/bin/sh\n" + program + '\n');
        QVERIFY(
            QFile::setPermissions(m_home.file(u"qmkeys"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        m_monitor = makeKeyMonitorWayland(program.isEmpty() ? QString() : m_home.file(u"qmkeys"_s));
        m_monitor->setTrigger(keyCode(HotkeyModifier::rightShift));
        m_monitor->start([this](const KeyEvent &event) { m_trigger.handle(event); });
    }
    bool tells(qsizetype count, std::chrono::milliseconds limit = 20s)
    {
        return Desktop::wait([&] { return m_told.size() >= count; }, limit);
    }

    SwayDesktop m_desktop{{{}}};
    TempHome m_home;
    std::unique_ptr<KeyMonitor> m_monitor;
    QStringList m_told;
    ManualQueue m_queue;
    HotkeyTrigger m_trigger{
        m_queue, {}, [this](HotkeyGesture gesture) { m_told += gesture == HotkeyGesture::tap ? u"tap"_s : u"hold"_s; }};
};

QTEST_GUILESS_MAIN(tst_WaylandKeys)
#include "tst_WaylandKeys.moc"
