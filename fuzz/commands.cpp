// A libFuzzer target: a message to the running instance is a command or nothing, and a command is understood as it was meant
// when it is handed over.

#include "app/Command.h"

#include <QDir>

#include <cstdlib>

using namespace qm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray message(reinterpret_cast<const char *>(data), qsizetype(size));
    const std::optional<Command> command = Command::fromMessage(message);
    if (!command)
        return 0;
    const bool isAnnotate = command->verb == Command::Verb::annotate;
    if (command->delay.count() < 0 || isAnnotate != QDir::isAbsolutePath(command->file) ||
        (command->verb != Command::Verb::open && Command::fromMessage(command->toMessage()) != command))
        std::abort();
    return 0;
}
