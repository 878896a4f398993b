#pragma once

#include "cli/Console.h"

#include <QString>

namespace qm {

// The subcommands of qms. Each says what it did on the console and gives the exit code. They work with the code and the
// busy time-outs of the application, beside it or without it.
namespace Commands {

Exit scan(Console &console);
enum class Batches { one, all };
Exit ocr(Console &console, Batches batches);
Exit search(Console &console, const QString &text, int limit);
Exit list(Console &console, int limit);
Exit status(Console &console);

} // namespace Commands
} // namespace qm
