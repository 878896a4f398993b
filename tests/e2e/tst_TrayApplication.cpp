// What the application does about its key, its commands and its icon, on a real desktop. The tools beside it are stand-ins
// that note what they are asked for.

#include "tests/support/Desktop.h"
#include "tests/support/TrayIcon.h"

#include <QFile>
#include <QGuiApplication>
#include <QTest>

#include <xcb/xcb.h>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class tst_TrayApplication : public QObject
{
    Q_OBJECT

public:
    explicit tst_TrayApplication(Desktop &desktop)
        : m_desktop(desktop)
    {
    }

private:
    Desktop &m_desktop;
    QProcess *m_application = nullptr;

    QString at(const QString &relative) const { return m_desktop.home().file(relative); }
    QProcess &quillmere(const QString &command)
    {
        return m_desktop.start(at(u"bin/quillmere"_s), {command}, {u"QT_QPA_PLATFORM=xcb"_s, u"LANGUAGE=en"_s});
    }
    // The ways of capturing, "-i -iw", once there are so many.
    QByteArray asked(int count) const
    {
        QByteArrayList ways;
        Desktop::wait([&] {
            ways.clear();
            for (const QByteArray &line : m_desktop.home().read(u"asked"_s).split('\n'))
                ways << line.split(' ').first();
            return ways.size() > count;
        });
        return ways.join(' ').trimmed();
    }
    // Up to where a command of its own is answered: the key is listened to then.
    void start()
    {
        m_application = &quillmere(u"capture-scroll"_s);
        QCOMPARE(asked(1), QByteArray("--region"));
        QVERIFY(m_desktop.home().read(u"asked"_s).contains(" scroll.png\n"));
        QVERIFY(QFile::remove(at(u"asked"_s)));
    }
    // Each key once more where it was too early: what is seen may not have the keyboard yet.
    void chooseFromTheMenu(int item)
    {
        const auto until = [&](const std::function<void()> &act) {
            const QImage before = m_desktop.stillPicture();
            return Desktop::wait([&] {
                act();
                return Desktop::wait([&] { return m_desktop.picture() != before; }, 2s);
            });
        };
        QVERIFY(until([&] {
            if (const std::optional<QRect> icon = trayIcon(m_desktop))
                m_desktop.click(icon->center());
        }));
        for (int i = 0; i <= item; ++i)
            QVERIFY(until([&] { m_desktop.tap(Key::down); }));
        m_desktop.tap(Key::enter);
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &tool : {u"bin/qmcapture"_s, u"bin/qmscroll"_s})
            m_desktop.home().script(tool, "for word; do case $word in -i|-iw|--region) way=$word; esac; done\n"
                                          "echo \"$way $*\" >>\"$HOME/asked\"; : >\"$word\"\n" // its picture, empty
                                          "[ ! -e \"$HOME/full\" ] || { echo 'tool: ends: no room' >&2; exit 1; }");
        QVERIFY(QFile::copy(QStringLiteral(QM_PROGRAMS "/quillmere"), at(u"bin/quillmere"_s)));
    }
    void cleanup()
    {
        m_desktop.releaseInput();
        quillmere(u"quit"_s);
        QVERIFY(Desktop::wait([&] { return m_application->state() == QProcess::NotRunning; }));
        QCOMPARE(m_application->exitCode(), 0);
        QFile::remove(at(u"asked"_s));
    }

    void theKey()
    {
        start();
        m_desktop.tap(Key::leftShift);
        m_desktop.keyDown(Key::rightShift);
        m_desktop.tap(Key(38)); // a letter
        m_desktop.keyUp(Key::rightShift);
        for (const Button button : {Button::left, Button::wheelDown}) {
            m_desktop.keyDown(Key::rightShift);
            m_desktop.click({300, 300}, button);
            m_desktop.keyUp(Key::rightShift);
        }
        // A tap while another program has the keyboard.
        xcb_connection_t *other = m_desktop.connection();
        auto *grab = xcb_grab_keyboard_reply(
            other, xcb_grab_keyboard(other, 0, m_desktop.root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC), nullptr);
        QVERIFY(grab && grab->status == XCB_GRAB_STATUS_SUCCESS);
        std::free(grab);
        // Once more where it was too early: a press belongs to the capture before until that has ended.
        Desktop::wait([&] {
            m_desktop.tap(Key::rightShift);
            return Desktop::wait([&] { return m_desktop.home().read(u"asked"_s).contains('\n'); }, 2s);
        });
        const QByteArray heard = asked(1);
        xcb_ungrab_keyboard(other, 0);
        QCOMPARE(heard, QByteArray("-i"));
        QVERIFY(Desktop::wait([&] {
            m_desktop.keyUp(Key::rightShift);
            m_desktop.keyDown(Key::rightShift);
            return Desktop::wait([&] { return m_desktop.home().read(u"asked"_s).count('\n') == 2; }, 2s);
        }));
        QCOMPARE(asked(2), QByteArray("-i -iw"));
    }

    void whatIsNotWholeIsTold()
    {
        const TempHome &home = m_desktop.home();
        const auto isSaid = [&](const QByteArray &what) {
            return Desktop::wait([&] { return home.read(u"said"_s).contains(what); });
        };
        home.write(u"said"_s, {});
        QProcess &notifications =
            m_desktop.start(QStringLiteral(QM_TEST_DATA "/../e2e/notifications.py"), {at(u"said"_s)});
        QVERIFY(isSaid("ready"));
        home.write(u".quillmere/captures/.left.png.unfinished"_s, "\x89PNG\r\n\x1a\n" + QByteArray(100, 'x'));
        home.write(u"full"_s, {});
        start();
        QVERIFY(isSaid("The scrolling capture ends early: ends: no room\n"));
        QVERIFY(isSaid("captures/left.png\n"));
        QVERIFY(QFile::remove(at(u"full"_s)));
        notifications.terminate();
        QVERIFY(Desktop::ended(notifications));
    }

    void commands()
    {
        QVERIFY(QFile::remove(at(u".config/autostart/quillmere.desktop"_s))); // by the user: the first start made it
        start();
        quillmere(u"capture-window"_s);
        QCOMPARE(asked(1), QByteArray("-iw"));
        QVERIFY(m_desktop.windows().isEmpty());
        for (const QString &command : {u"Library"_s, u"Settings"_s}) {
            quillmere(command.toLower());
            QVERIFY(Desktop::wait([&] { return m_desktop.windowTitled(u"Quillmere "_s + command).has_value(); }));
        }
        QVERIFY(!QFile::exists(at(u".config/autostart/quillmere.desktop"_s)));
    }

    void twoStartsAtOnce()
    {
        QProcess &one = quillmere(u"capture-region"_s), &other = quillmere(u"capture-region"_s);
        QCOMPARE(asked(2), QByteArray("-i -i"));
        const QByteArrayList lines = m_desktop.home().read(u"asked"_s).trimmed().split('\n');
        QVERIFY(lines[0] != lines[1]); // neither overwrites the other within the same second
        const auto hasEnded = [](const QProcess &process) { return process.state() == QProcess::NotRunning; };
        QVERIFY(Desktop::wait([&] { return hasEnded(one) || hasEnded(other); }));
        m_application = hasEnded(one) ? &other : &one;
        QVERIFY(!hasEnded(*m_application));
        QCOMPARE((hasEnded(one) ? one : other).exitCode(), 0);
    }

    void aLateTray()
    {
        start();
        QVERIFY(!trayIcon(m_desktop));
        QProcess &panel = m_desktop.start(u"tint2"_s, {});
        QVERIFY(Desktop::wait([&] { return trayIcon(m_desktop).has_value(); }));
        chooseFromTheMenu(1);
        chooseFromTheMenu(2);
        QCOMPARE(asked(2), QByteArray("-iw --region"));
        QCOMPARE(m_desktop.home().read(u"asked"_s).count("--rest "), 2); // until what the menu covered is drawn again
        panel.kill();
        QVERIFY(Desktop::wait([&] { return panel.state() == QProcess::NotRunning; }));
        m_desktop.tap(Key::rightShift); // and it does not need one
        QCOMPARE(asked(3), QByteArray("-iw --region -i"));
        QCOMPARE(m_desktop.home().read(u"asked"_s).count("--rest "), 2);
        m_desktop.start(u"tint2"_s, {});
        QVERIFY(Desktop::wait([&] { return trayIcon(m_desktop).has_value(); }));
    }

    // What does not need the bus goes on without; what a lost display ends leaves nothing in the next start's way.
    void theDesktopGoes()
    {
        m_desktop.holdSessionBus(true);
        start();
        quillmere(u"quit"_s);
        QVERIFY(Desktop::ended(*m_application));
        m_desktop.holdSessionBus(false);
        start();
        quillmere(u"library"_s);
        const auto library = [&] { return m_desktop.windowTitled(u"Quillmere Library"_s); };
        QVERIFY(Desktop::wait([&] { return library().has_value(); })); // Qt itself asks the bus while it starts
        m_desktop.stopSessionBus();
        m_desktop.tap(Key::rightShift);
        QCOMPARE(asked(1), QByteArray("-i"));
        m_desktop.cutOff(library()->id);
        QVERIFY(Desktop::ended(*m_application));
        QVERIFY(QFile::remove(at(u"asked"_s)));
        start();
        m_application->kill(); // has no time to tidy up
        QVERIFY(Desktop::ended(*m_application));
        start();
    }
};

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop({.panel = false});
    tst_TrayApplication test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_TrayApplication.moc"
