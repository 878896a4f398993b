#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <unistd.h>

using namespace qm;

namespace {

bool isRunning(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = status.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) != "Z";
}

QList<qint64> childrenOf(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/task/%1/children").arg(pid));
    QList<qint64> found;
    if (file.open(QIODevice::ReadOnly)) {
        for (const QByteArray &child : file.readAll().simplified().split(' '))
            found.append(child.toLongLong());
    }
    return found;
}

} // namespace

class tst_Desktop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingEndsWithAKilledProcess();
};

// The other half of the test is this program itself, started with an argument (see main).
void tst_Desktop::everythingEndsWithAKilledProcess()
{
    QProcess holder;
    holder.start(QCoreApplication::applicationFilePath(), {QStringLiteral("hold")});
    QVERIFY(Desktop::wait([&] { return holder.canReadLine() || holder.state() == QProcess::NotRunning; },
                          std::chrono::minutes(2)));
    const QString home = QString::fromUtf8(holder.readLine().trimmed());
    const QList<qint64> started = childrenOf(holder.processId());
    QVERIFY2(started.size() >= 5, "server, bus, window manager, panel, compositor");
    ::kill(pid_t(holder.processId()), SIGKILL);
    holder.waitForFinished();
    for (const qint64 pid : started)
        QVERIFY(Desktop::wait([pid] { return !isRunning(pid); }));
    QDir(home).removeRecursively(); // the one thing that a killed process can't clear away
}

int main(int argc, char **argv)
{
    if (argc > 1) {
        const QCoreApplication application(argc, argv);
        Desktop desktop({.size = {640, 480}, .compositor = true});
        std::printf("%s\n", qPrintable(desktop.home().path()));
        std::fflush(stdout);
        pause();
        return 0;
    }
    QCoreApplication application(argc, argv);
    tst_Desktop test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_Desktop.moc"
