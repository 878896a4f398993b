#pragma once

#include "cli/Console.h"

#include <QString>

namespace qm {

// The subcommands of qms. Each prints its result and returns the exit code. They use the application's code and its
// database busy time-outs, so they work whether it runs or not.
namespace Commands {

Exit scan(Console &console);
enum class Batches { one, all };
Exit ocr(Console &console, Batches batches);
Exit search(Console &console, const QString &text, int limit);
Exit list(Console &console, int limit);
Exit status(Console &console);
Exit failures(Console &console); // pictures that cannot be read
Exit forget(Console &console, const QStringList &files);

} // namespace Commands
} // namespace qm
