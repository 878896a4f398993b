#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace qm {

// External programs, started with an argument list and never through a shell. Environment and working folder are
// inherited, and children end when this process dies, however it dies.
namespace ChildProcess {

using Received = std::function<void(const QByteArray &)>;

struct Result {
    QByteArray output;
    QByteArray errors; // the last 4 kB of standard error
    int exitCode = 0;  // means nothing if it was ended by a signal
};

// Runs the program, writes input to its standard input and returns all its output once it has exited. Any thread except the main one; blocks without a time limit. If an interruption of the thread is
// requested, or the process was asked to end by a signal that it defers, the child is ended and its output so far is
// returned. received, if given, is called on this thread with each piece of output as it arrives. Returns std::nullopt if the program could not be started.
std::optional<Result> run(const QString &program, const QStringList &arguments, const QByteArray &input = {},
                          const Received &received = {});

} // namespace ChildProcess
} // namespace qm
