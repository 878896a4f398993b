#include "platform/CaptureTool.h"

namespace qm {

// qmcapture's; see the head of its main.cpp.
QStringList CaptureTool::arguments(const Request &request, const QString &path)
{
    QStringList words;
    const auto add = [&](const QString &option, const QRect &area) {
        if (!area.isNull())
            words << option << text(area);
    };
    add(QStringLiteral("--rest"), request.rest);
    add(QStringLiteral("--last"), request.lastRegion);
    if (request.isPatient)
        words << QStringLiteral("--patient");
    if (request.isForClipboard)
        words << QStringLiteral("--clipboard");
    if (!request.trigger.isEmpty())
        words << QStringLiteral("--trigger") << request.trigger;
    if (!request.unsaved.isEmpty())
        words << QStringLiteral("--unsaved") << request.unsaved;
    switch (request.way) {
    case Request::Way::window: words << QStringLiteral("-iw"); break;
    case Request::Way::monitor: words << QStringLiteral("--monitor"); break;
    case Request::Way::desktop: words << QStringLiteral("--desktop"); break;
    case Request::Way::area: words << QStringLiteral("--area") << text(request.area); break;
    default: words << QStringLiteral("-i");
    }
    return words << path;
}

} // namespace qm
