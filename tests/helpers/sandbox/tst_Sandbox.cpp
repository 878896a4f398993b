#include "helpers/sandbox/Sandbox.h"
#include "tests/support/TempHome.h"

#include <QProcess>
#include <QTest>

#include <fcntl.h>
#include <functional>
#include <linux/landlock.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class tst_Sandbox : public QObject
{
    Q_OBJECT

    TempHome m_home;

    // In a child, as there is no way back.
    static bool isDenied(const QByteArray &readable, const std::function<int()> &act)
    {
        const pid_t child = fork();
        if (child == 0) {
            const bool confined = Sandbox::enter();
            const bool reads = open(readable.constData(), O_RDONLY | O_CLOEXEC) >= 0;
            _exit(confined && reads && act() == -1 ? 0 : 1);
        }
        int status = -1;
        return waitpid(child, &status, 0) == child && status == 0;
    }

private Q_SLOTS:
    void memoryAndTimeAreLimited()
    {
        const pid_t child = fork();
        if (child == 0) {
            Sandbox::limit(quint64(1) << 30, 60s);
            rlimit memory{}, time{};
            const bool known = getrlimit(RLIMIT_AS, &memory) == 0 && getrlimit(RLIMIT_CPU, &time) == 0;
            _exit(known && memory.rlim_max == 1 << 30 && time.rlim_max == 60 ? 0 : 1);
        }
        int status = -1;
        QVERIFY(waitpid(child, &status, 0) == child && status == 0);
    }

    void canOnlyRead()
    {
        m_home.write(u"file"_s, "x");
        const QByteArray file = m_home.file(u"file"_s).toUtf8(), other = file + "2";
        const int writable = open(file.constData(), O_RDWR | O_CLOEXEC);
        const std::function<int()> denied[] = {
            [&] { return open(file.constData(), O_WRONLY); },
            [&] { return open(file.constData(), O_RDWR); },
            [&] { return open(file.constData(), O_RDONLY | O_TRUNC); },
            [&] { return open(other.constData(), O_RDONLY | O_CREAT, 0600); },
            [&] { return truncate(file.constData(), 0); },
            [&] { return ftruncate(writable, 0); },
            [&] { return unlink(file.constData()); },
            [&] { return rename(file.constData(), other.constData()); },
            [&] { return link(file.constData(), other.constData()); },
            [&] { return mkdir(other.constData(), 0700); },
            [&] { return chmod(file.constData(), 0777); },
            [&] { return execl("/bin/false", "false", nullptr); },
            [&] { return socket(AF_INET, SOCK_STREAM, 0); },
            [&] { return socket(AF_UNIX, SOCK_STREAM, 0); },
            [&] { return kill(getppid(), 0); },
            [&] { return syscall(SYS_io_uring_setup, 1, nullptr) == -1 && errno == ENOSYS ? -1 : 0; },
            [&] { return syscall(SYS_openat2, AT_FDCWD, "/", nullptr, 0) == -1 && errno == ENOSYS ? -1 : 0; },
            [&] { return int(syscall(SYS_tgkill, getppid(), getppid(), 0)); },
            [&] { return ioctl(writable, TIOCSTI, "x") == -1 && errno == EPERM ? -1 : 0; },
        };
        for (size_t i = 0; i < std::size(denied); ++i)
            QVERIFY2(isDenied(file, denied[i]), qPrintable(QString::number(i)));
        ::close(writable);
    }

    void cannotReadOtherProcesses()
    {
        if (syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) <= 0)
            QSKIP("This kernel has no Landlock.");
        m_home.write(u"file"_s, "x");
        const QByteArray parent = "/proc/" + QByteArray::number(getpid()) + "/mem";
        const pid_t child = fork();
        if (child == 0)
            _exit(open(parent.constData(), O_RDONLY) >= 0 ? 0 : 1);
        int status = -1;
        if (waitpid(child, &status, 0) != child || status != 0)
            QSKIP("This system keeps children from it anyway.");
        QVERIFY(isDenied(m_home.file(u"file"_s).toUtf8(), [&] { return open(parent.constData(), O_RDONLY); }));
    }

    // Both wait, the one for more pictures, the other for the rest of one.
    void programsEnterIt_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("the workers of qmocr") << u"qmocr"_s << QStringList();
        QTest::newRow("qmdecode") << u"qmdecode"_s << QStringList(u"0"_s);
    }
    void programsEnterIt()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        const QByteArray pipe = m_home.file(program).toUtf8();
        QVERIFY(mkfifo(pipe.constData(), 0600) == 0);
        const int end = open(pipe.constData(), O_RDWR | O_CLOEXEC);
        const QByteArray path = m_home.file(u"none.png"_s).toUtf8() + '\n';
        QVERIFY(write(end, path.constData(), size_t(path.size())) == path.size());
        QProcess process;
        process.setEnvironment(QProcess::systemEnvironment() << u"QM_CONFINED=1"_s);
        process.setStandardInputFile(QString::fromUtf8(pipe));
        process.start(QStringLiteral(QM_PROGRAMS "/") + program, arguments);
        QVERIFY(process.waitForStarted());
        const auto said = [](const QString &file) {
            QFile about(u"/proc/"_s + file);
            return about.open(QIODevice::ReadOnly) ? about.readAll() : QByteArray();
        };
        const auto filters = [&said](const QByteArray &id) { // the tests may be confined themselves
            const QByteArray status = said(QString::fromUtf8(id) + u"/status"_s), name = "\nSeccomp_filters:\t";
            const qsizetype at = status.indexOf(name);
            return at < 0 ? -1 : status.mid(at + name.size()).split('\n').first().toInt();
        };
        if (filters("self") < 0)
            QSKIP("This kernel does not count filters.");
        QByteArray id = QByteArray::number(process.processId());
        if (program == u"qmocr")
            QTRY_VERIFY(!(id = said(u"%1/task/%1/children"_s.arg(process.processId())).split(' ').first()).isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(filters(id) > filters("self"), 10'000);
        ::close(end);
        process.kill();
        QVERIFY(process.waitForFinished());
    }
};

QTEST_GUILESS_MAIN(tst_Sandbox)
#include "tst_Sandbox.moc"
