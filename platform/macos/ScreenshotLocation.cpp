#include "platform/ScreenshotLocation.h"

#include "platform/ChildProcess.h"

namespace qm {

std::optional<QByteArray> systemScreenshotLocation()
{
    const auto answer = ChildProcess::run(
        QStringLiteral("/usr/bin/defaults"),
        {QStringLiteral("read"), QStringLiteral("com.apple.screencapture"), QStringLiteral("location")});
    return answer ? std::optional(answer->output) : std::nullopt;
}

} // namespace qm
