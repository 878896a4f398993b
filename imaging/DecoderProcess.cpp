#include "imaging/DecoderProcess.h"

#include "imaging/RowStream.h"
#include "platform/ParentDeath.h"

#include <QProcess>

#include <chrono>

namespace qm {

// For a whole picture, however large it is and busy the machine. A process that drips bytes is not waited for longer.
static constexpr std::chrono::minutes patience{5};

static std::optional<QString> &chosen()
{
    static std::optional<QString> program;
    return program;
}

void DecoderProcess::use(const std::optional<QString> &program)
{
    chosen() = program;
}

bool DecoderProcess::isUsed()
{
    return chosen().has_value();
}

Decoded DecoderProcess::read(const QString &path, const PictureReader::Wish &wish, RowSink &sink)
{
    QProcess process;
    process.setProgram(chosen().value_or(QString()));
    process.setArguments({QString::number(wish.smallestLongEdge)});
    process.setStandardInputFile(path); // it is told no name, and opens nothing
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setChildProcessModifier(&endWithParent);
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        return Decoded::nothing;
    const Decoded decoded = RowStream::read(process, sink, QDeadlineTimer(patience));
    process.kill();
    process.waitForFinished(-1);
    return decoded;
}

} // namespace qm
