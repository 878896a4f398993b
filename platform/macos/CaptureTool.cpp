#include "platform/CaptureTool.h"

namespace qm {

// screencapture's. It knows neither a second path nor waiting, and what came of it is told by the file alone.
QStringList CaptureTool::arguments(const Request &request, const QString &path)
{
    switch (request.way) {
    case Request::Way::window: return {QStringLiteral("-iw"), path};
    case Request::Way::monitor:
    case Request::Way::desktop: return {QStringLiteral("-m"), path}; // one file is one display there
    case Request::Way::area: return {QStringLiteral("-R"), text(request.area), path};
    default: return {QStringLiteral("-i"), path};
    }
}

} // namespace qm
