#include "platform/ChildProcess.h"

#include "platform/ParentDeath.h"
#include "platform/TerminationSignals.h"

#include <QProcess>
#include <QThread>

namespace qm {

static constexpr int wakeUp = 100;       // ms between checks for an interruption request
static constexpr int endPolitely = 1000; // ms before a child that ignores SIGTERM is killed
static constexpr int errorsKept = 4096;  // bytes

std::optional<ChildProcess::Result> ChildProcess::run(const QString &program, const QStringList &arguments,
                                                      const QByteArray &input, const Received &received)
{
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setChildProcessModifier(&endWithParent);
    process.start();
    if (!process.waitForStarted(-1))
        return std::nullopt;
    process.write(input); // buffered: written as the child reads, while its output is read
    process.closeWriteChannel();

    Result result;
    const auto take = [&] {
        result.errors = (result.errors + process.readAllStandardError()).right(errorsKept);
        const QByteArray piece = process.readAllStandardOutput();
        result.output += piece;
        if (received && !piece.isEmpty())
            received(piece);
    };
    while (process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(wakeUp);
        take();
        if (QThread::currentThread()->isInterruptionRequested() || TerminationSignals::received()) {
            process.terminate();
            if (!process.waitForFinished(endPolitely)) {
                process.kill();
                process.waitForFinished(-1);
            }
        }
    }
    take();
    result.exitCode = process.exitCode();
    return result;
}

} // namespace qm
