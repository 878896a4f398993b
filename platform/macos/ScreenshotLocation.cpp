#include "platform/ScreenshotLocation.h"

#include "platform/ChildProcess.h"

namespace qm {

std::optional<QByteArray> systemScreenshotLocation()
{
    return ChildProcess::run(
        QStringLiteral("/usr/bin/defaults"),
        {QStringLiteral("read"), QStringLiteral("com.apple.screencapture"), QStringLiteral("location")});
}

} // namespace qm
