// Japanese typed into the editor through a real input method. It refuses to run as root, so the programs run as another
// user, in name spaces of their own, with which all that the input method starts ends too.

#include "tests/support/Desktop.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class tst_InputMethod : public QObject
{
    Q_OBJECT

    Desktop m_desktop{{.panel = false}};

    void type(const char *letters)
    {
        static const QByteArray rows[] = {"qwertyuiop", "asdfghjkl", "zxcvbnm"}; // of a US keyboard
        constexpr int firstCodes[] = {24, 38, 52};
        for (const char *letter = letters; *letter; ++letter) {
            for (int row = 0; row < 3; ++row) {
                if (const qsizetype at = rows[row].indexOf(*letter); at >= 0)
                    m_desktop.tap(qm::Key(firstCodes[row] + int(at)));
            }
        }
    }
    QByteArray draft() const
    {
        const QString folder = u".local/state/quillmere/drafts/"_s;
        const QStringList files = QDir(m_desktop.home().file(folder)).entryList(QDir::Files);
        return files.isEmpty() ? QByteArray() : m_desktop.home().read(folder + files[0]);
    }

private Q_SLOTS:
    // Return ends what is being composed, and only then the field.
    void japanese()
    {
        const TempHome &home = m_desktop.home();
        if (QStandardPaths::findExecutable(u"fcitx5"_s).isEmpty() || !QFile::exists(u"/usr/lib/mozc/mozc_server"_s))
            QSKIP("fcitx5 and mozc are not installed");
        home.write(u".config/fcitx5/profile"_s, "[Groups/0]\nName=Default\nDefault Layout=us\nDefaultIM=mozc\n"
                                                "[Groups/0/Items/0]\nName=mozc\nLayout=\n[GroupOrder]\n0=Default\n");
        QImage blue(640, 400, QImage::Format_RGB32);
        blue.fill(0xff2040c0);
        QVERIFY(blue.save(home.file(u"blue.png"_s)));
        const QString both = home.script(u"both"_s, "fcitx5 -D --disable=notifications >/dev/null 2>&1 &\n"
                                                    "until [ \"$(fcitx5-remote -q)\" = Default ]; do sleep 0.1; done\n"
                                                    "exec " QM_PROGRAMS "/quillmere annotate $HOME/blue.png");
        m_desktop.start(u"unshare"_s,
                        {u"--user"_s, u"--map-user=1000"_s, u"--map-group=1000"_s, u"--pid"_s, u"--fork"_s,
                         u"--mount-proc"_s, u"--kill-child"_s, u"dbus-run-session"_s, u"--"_s, both},
                        {u"QT_QPA_PLATFORM=xcb"_s, u"QT_IM_MODULE=fcitx"_s, u"LANGUAGE=en"_s});
        const QString title = u"Annotate — blue.png"_s;
        QVERIFY(Desktop::wait([&] { return m_desktop.windowTitled(title).has_value(); }, 60s));
        const QPoint middle = m_desktop.windowTitled(title)->content.center();
        // Again if it was too early for the window or for the input method.
        QVERIFY(Desktop::wait(
            [&] {
                (void)m_desktop.stillPicture();
                type("t");
                m_desktop.click(middle);
                (void)m_desktop.stillPicture();
                type("nihongo");
                m_desktop.tap(qm::Key::space);
                m_desktop.tap(qm::Key::enter);
                type("desu");
                m_desktop.tap(qm::Key::enter);
                m_desktop.tap(qm::Key::enter);
                return Desktop::wait([&] { return draft().contains(QByteArray("\"text\":\"日本語です\"")); }, 5s);
            },
            60s));
    }
};

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    tst_InputMethod test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_InputMethod.moc"
