#include "helpers/sandbox/Sandbox.h"
#include "tests/support/TempHome.h"

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

// Each in a child, as there is no way back.
class tst_Sandbox : public QObject
{
    Q_OBJECT

    TempHome m_home;

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
        const QByteArray parent = "/proc/" + QByteArray::number(getpid()) + "/mem";
        const bool landlock = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
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
            [&] { return landlock ? open(parent.constData(), O_RDONLY) : -1; },
        };
        for (size_t i = 0; i < std::size(denied); ++i) {
            const pid_t child = fork();
            if (child == 0) {
                const bool confined = Sandbox::enter();
                const bool reads = open(file.constData(), O_RDONLY | O_CLOEXEC) >= 0;
                _exit(confined && reads && denied[i]() == -1 ? 0 : 1);
            }
            int status = -1;
            QVERIFY(waitpid(child, &status, 0) == child);
            QVERIFY2(status == 0, qPrintable(QString::number(i)));
        }
        ::close(writable);
    }
};

QTEST_GUILESS_MAIN(tst_Sandbox)
#include "tst_Sandbox.moc"
