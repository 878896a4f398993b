// What qmkeys says of keyboards and pointers that come, go and are used, and what it gives up before it reads them.

#include "helpers/qmkeys/Confinement.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <functional>
#include <grp.h>
#include <linux/input.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#undef signals // a name in GLib's headers
#include <umockdev.h>
#include <unistd.h>

using namespace qm;
using namespace Qt::StringLiterals;

namespace {

// Devices that are not there, and qmkeys reading them.
class Seat
{
public:
    Seat()
        : m_devices(umockdev_testbed_new())
    {
    }
    ~Seat()
    {
        m_program.closeWriteChannel();
        m_program.kill();
        m_program.waitForFinished();
        g_object_unref(m_devices);
    }

    void start()
    {
        m_program.start(QStringLiteral(QM_PROGRAMS "/simulated_keys"), {});
        QVERIFY(waitFor("ready\n"));
    }
    void plugIn(int number, const char *kind, const QList<int> &held = {})
    {
        const QByteArray name = QByteArray::number(number);
        const QByteArray parent = "/devices/platform/usb/input/input" + name, child = parent + "/event" + name;
        QByteArray description = "P: " + parent + "\nE: SUBSYSTEM=input\nE: ID_INPUT=1\nE: " + kind + "=1\n\n";
        description += "P: " + child + "\nN: input/event" + name + "\nE: DEVNAME=/dev/input/event" + name +
                       "\nE: SUBSYSTEM=input\nE: ID_INPUT=1\nE: " + kind + "=1\n\n";
        QVERIFY(umockdev_testbed_add_from_string(m_devices, description.constData(), nullptr));
        answer(number, held);
        umockdev_testbed_uevent(m_devices, ("/sys" + child).constData(), "add");
    }
    // What it says about itself when asked, in the lengths that libevdev asks for.
    void answer(int number, const QList<int> &held)
    {
        const auto bits = [](const QList<int> &codes, qsizetype bytes = 8) {
            QByteArray set(bytes, '\0');
            for (const int code : codes)
                set[code / 8] = char(set[code / 8] | 1 << code % 8);
            return ' ' + QByteArray::number(bytes) + ' ' + set.toHex().toUpper() + '\n';
        };
        QList<int> keys;
        for (int code = 1; code < 0x160; ++code)
            keys += code;
        QByteArray text = "EVIOCGVERSION 0 01000100\nEVIOCGID 0 1100010001004100\nEVIOCGREP 0 FA00000021000000\n";
        for (const char *question : {"NAME", "PHYS", "UNIQ"})
            text +=
                QByteArray("EVIOCG") + question + "(0) 2 " + QByteArray("x").leftJustified(255, '\0').toHex() + '\n';
        text += "EVIOCGBIT(0)" + bits({EV_SYN, EV_KEY, EV_REL, EV_MSC}) + "EVIOCGBIT(1)" + bits(keys, 96) +
                "EVIOCGBIT(2)" + bits({REL_X, REL_Y, REL_WHEEL}) + "EVIOCGBIT(3)" + bits({}) + "EVIOCGBIT(4)" +
                bits({MSC_SCAN}) + "EVIOCGBIT(5)" + bits({}) + "EVIOCGBIT(17)" + bits({}) + "EVIOCGBIT(18)" + bits({}) +
                "EVIOCGBIT(21)" + bits({}, 16) + "EVIOCGPROP(0)" + bits({}) + "EVIOCGKEY(0)" + bits(held, 96);
        for (const char *question : {"LED", "SW", "SND"})
            text += QByteArray("EVIOCG") + question + "(0)" + bits({});
        QFile file(m_answers.filePath(QString::number(number)));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
        file.close();
        QVERIFY(umockdev_testbed_load_ioctl(m_devices, node(number).constData(), file.fileName().toUtf8().constData(),
                                            nullptr));
    }
    void loseEvents(int number)
    {
        send(number, EV_SYN, SYN_DROPPED, 0);
        send(number, EV_SYN, SYN_REPORT, 0);
    }
    void unplug(int number)
    {
        const QByteArray name = QByteArray::number(number);
        const QByteArray path = "/sys/devices/platform/usb/input/input" + name + "/event" + name;
        umockdev_testbed_uevent(m_devices, path.constData(), "remove");
    }
    void send(int number, quint16 type, quint16 code, qint32 value)
    {
        input_event event{};
        event.type = type;
        event.code = code;
        event.value = value;
        const int device = umockdev_testbed_get_dev_fd(m_devices, node(number).constData());
        QCOMPARE(write(device, &event, sizeof event), ssize_t(sizeof event));
    }
    void key(int number, quint16 code, bool isDown)
    {
        send(number, EV_KEY, code, isDown);
        send(number, EV_SYN, SYN_REPORT, 0);
    }
    void tap(int number, quint16 code) { key(number, code, true), key(number, code, false); }
    void play(const QString &recording)
    {
        QFile file(QStringLiteral(QM_TEST_DATA "/../../fuzz/seeds/keys/") + recording);
        QVERIFY(file.open(QIODevice::ReadOnly));
        while (!file.atEnd()) {
            const QList<QByteArray> words = file.readLine().trimmed().split(' ');
            send(1, words[2].toUShort(nullptr, 16), words[3].toUShort(nullptr, 16),
                 qint32(words[4].toUInt(nullptr, 16)));
        }
    }
    void session(char word) { QVERIFY(m_program.write(&word, 1) == 1 && m_program.waitForBytesWritten()); }
    bool waitFor(const QByteArray &line)
    {
        return QTest::qWaitFor([&] { return (m_said += m_program.readAllStandardOutput()).endsWith(line); }, 20000);
    }
    QString said() { return QString::fromLatin1(m_said).section(u'\n', 1).replace(u'\n', u' '); }
    QProcess &program() { return m_program; }
    QByteArray file(int number) { return qgetenv("UMOCKDEV_DIR") + node(number); }

private:
    static QByteArray node(int number) { return "/dev/input/event" + QByteArray::number(number); }

    UMockdevTestbed *m_devices;
    QTemporaryDir m_answers;
    QProcess m_program;
    QByteArray m_said;
};

using Steps = std::function<void(Seat &)>;

// In a child, as there is no way back.
bool inAChild(const std::function<bool()> &holds)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(holds() ? 0 : 1);
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

} // namespace

Q_DECLARE_METATYPE(Steps)

class tst_qmkeys : public QObject
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
        const QString tap = u"down rightShift up rightShift "_s;
        for (const auto &[name, told] :
             {std::pair("tap", tap), std::pair("hold", tap),
              std::pair("chord", u"down leftControl down rightShift key up rightShift up leftControl "_s),
              std::pair("pointer", u"down rightShift key up rightShift down leftOption key up leftOption "_s)})
            row(name, told, [file = QString::fromLatin1(name)](Seat &seat) { seat.play(file); });
        // What the others say in between shows that it has been heard.
        row("a key on each of two keyboards",
            u"down rightShift down leftControl up leftControl down leftOption up leftOption up rightShift "_s,
            [](Seat &seat) {
                seat.key(1, KEY_RIGHTSHIFT, true);
                seat.waitFor("down rightShift\n");
                seat.key(2, KEY_RIGHTSHIFT, true);
                seat.tap(2, KEY_LEFTCTRL);
                seat.waitFor("up leftControl\n");
                seat.key(1, KEY_RIGHTSHIFT, false);
                seat.tap(1, KEY_LEFTALT);
                seat.waitFor("up leftOption\n");
                seat.key(2, KEY_RIGHTSHIFT, false);
                seat.waitFor("up rightShift\n");
            });
        row("a button of another device is held", u"down rightShift key up rightShift "_s, [](Seat &seat) {
            seat.key(2, BTN_LEFT, true);
            seat.plugIn(3, "ID_INPUT_KEYBOARD"); // heard after the button
            seat.tap(3, KEY_RIGHTSHIFT);
            seat.waitFor("up rightShift\n");
        });
        row("the kernel's buffer runs over, with a release", u"down rightShift key up rightShift "_s, [](Seat &seat) {
            seat.key(1, KEY_RIGHTSHIFT, true);
            seat.waitFor("down rightShift\n");
            seat.loseEvents(1);
            seat.waitFor("up rightShift\n");
        });
        row("and with a press", u"down rightShift key up rightShift down rightShift key up rightShift "_s,
            [](Seat &seat) {
                seat.plugIn(3, "ID_INPUT_KEYBOARD", {KEY_RIGHTSHIFT}); // which it says whenever it is asked
                seat.waitFor("key\n");
                seat.key(3, KEY_RIGHTSHIFT, false);
                seat.waitFor("up rightShift\n");
                seat.loseEvents(3);
                seat.waitFor("key\n");
                seat.key(3, KEY_RIGHTSHIFT, false);
                seat.waitFor("up rightShift\n");
            });
        row("plugged in with a key down", u"down leftControl key up leftControl "_s, [](Seat &seat) {
            seat.plugIn(3, "ID_INPUT_KEYBOARD", {KEY_LEFTCTRL});
            seat.waitFor("key\n");
            seat.key(3, KEY_LEFTCTRL, false);
            seat.waitFor("up leftControl\n");
        });
        row("unplugged with a key down", u"down leftControl key up leftControl "_s, [](Seat &seat) {
            seat.key(2, KEY_LEFTCTRL, true);
            seat.waitFor("down leftControl\n");
            seat.unplug(2);
            seat.waitFor("up leftControl\n");
        });
        row("another session is in front", u"down leftControl key up leftControl down leftOption key up leftOption "_s,
            [](Seat &seat) {
                seat.key(1, KEY_LEFTCTRL, true);
                seat.waitFor("down leftControl\n");
                seat.session('a');
                seat.waitFor("up leftControl\n");
                seat.plugIn(3, "ID_INPUT_KEYBOARD", {KEY_LEFTALT});
                seat.session('b');
                seat.waitFor("key\n");
                seat.key(3, KEY_LEFTALT, false);
                seat.waitFor("up leftOption\n");
            });
    }

    void tells()
    {
        QFETCH(Steps, steps);
        QFETCH(QString, told);
        Seat seat;
        seat.plugIn(1, "ID_INPUT_KEYBOARD");
        seat.plugIn(2, "ID_INPUT_MOUSE");
        seat.start();
        steps(seat);
        seat.tap(1, KEY_RIGHTMETA); // marks the end
        QVERIFY2(seat.waitFor("up rightCommand\n"), qPrintable(seat.said()));
        QCOMPARE(seat.said().section(u"down rightCommand"_s, 0, 0), told);
    }

    void endsWhereItMayNotRead()
    {
        Seat seat;
        seat.plugIn(1, "ID_INPUT_KEYBOARD");
        QVERIFY(chmod(seat.file(1).constData(), 0) == 0 && chmod(qgetenv("UMOCKDEV_DIR").constData(), 0755) == 0);
        seat.program().setChildProcessModifier([] {
            constexpr uid_t nobody = 65534; // root may read everything
            if (geteuid() == 0 && setuid(nobody) != 0)
                _exit(0);
        });
        seat.program().start(QStringLiteral(QM_PROGRAMS "/simulated_keys"), {});
        QVERIFY(seat.program().waitForFinished());
        QCOMPARE(seat.program().exitCode(), 1);
    }

    void endsWithItsReader()
    {
        Seat seat;
        seat.plugIn(1, "ID_INPUT_KEYBOARD");
        QProcess reader; // of one line
        seat.program().setStandardOutputProcess(&reader);
        seat.program().start(QStringLiteral(QM_PROGRAMS "/simulated_keys"), {});
        reader.start(u"head"_s, {u"-n"_s, u"1"_s});
        QVERIFY(seat.program().waitForFinished());
        QCOMPARE(seat.program().exitStatus(), QProcess::NormalExit);
    }

    void keepsOneGroup()
    {
        QVERIFY(inAChild([] {
            constexpr gid_t input = 12345;
            const gid_t others[] = {23456, 34567};
            const bool isRoot = geteuid() == 0;
            if (isRoot && (setgroups(2, others) != 0 || setresgid(others[0], input, input) != 0))
                return false;
            gid_t groups[3];
            const gid_t kept = getegid();
            return Confinement::keepOneGroup() && getresgid(&groups[0], &groups[1], &groups[2]) == 0 &&
                   std::all_of(groups, groups + 3, [kept](gid_t group) { return group == kept; }) &&
                   (!isRoot || getgroups(3, groups) == 0);
        }));
    }

    // sigaltstack is the address sanitizer's, in the child's last moment.
    void mayOnlyReadAndTell()
    {
        const std::function<int()> denied[] = {
            [] { return open("/dev/null", O_WRONLY); },
            [] { return open("/dev/null", O_RDWR); },
            [] { return open("/tmp/qmkeys", O_RDONLY | O_CREAT, 0600); },
            [] { return execl("/bin/true", "true", nullptr); },
            [] { return socket(AF_UNIX, SOCK_STREAM, 0); },
            [] { return int(fork()); },
            [] { return kill(getpid(), 0); },
            [] { return ioctl(STDIN_FILENO, EVIOCGRAB, 1); },
            [] { return int(write(3, "x", 1)); },
            [] {
                return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED ? -1
                                                                                                                    : 0;
            },
        };
        for (const auto &call : denied) {
            QVERIFY2(inAChild([&call] {
                         dup2(open("/dev/null", O_WRONLY), 3);
                         return Confinement::enter({SCMP_SYS(sigaltstack)}) && call() == -1 && errno == ENOSYS;
                     }),
                     qPrintable(QString::number(&call - denied)));
        }
        QVERIFY(inAChild([] { // libudev asks for the length of its news
            int pair[2];
            return socketpair(AF_UNIX, SOCK_DGRAM, 0, pair) == 0 && write(pair[0], "news", 4) == 4 &&
                   Confinement::enter({SCMP_SYS(sigaltstack)}) && recv(pair[1], nullptr, 0, MSG_PEEK | MSG_TRUNC) == 4;
        }));
        QVERIFY(inAChild([] {
            return Confinement::enter({SCMP_SYS(prctl), SCMP_SYS(sigaltstack)}) &&
                   prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1 && prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) == 0;
        }));
    }
};

QTEST_GUILESS_MAIN(tst_qmkeys)
#include "tst_qmkeys.moc"
