#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace qm {

// External programs: an argument list, never a shell. Standard error is discarded, environment and working folder are
// inherited, and a child is ended when this process dies, however it dies.
namespace ChildProcess {

using Received = std::function<void(const QByteArray &)>;

// Runs the program, writes input to its standard input, and returns all it printed once it has exited; the exit status is
// not looked at. Any thread but the main one; blocks it, without a time limit, unless the thread is asked for an
// interruption: then the child is ended and what it printed so far is returned. received, when given, is called on this
// thread with each piece of output as it comes. Nothing when the program could not be started.
std::optional<QByteArray> run(const QString &program, const QStringList &arguments, const QByteArray &input = {},
                              const Received &received = {});

// Starts the program and returns at once. Its output is discarded and nobody waits for it, but it ends with this process.
// Main thread. A program that cannot be started is nobody's business either.
void start(const QString &program, const QStringList &arguments);

} // namespace ChildProcess
} // namespace qm
