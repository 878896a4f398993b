#include "platform/CaptureTool.h"

namespace qm {

QString CaptureTool::text(const QRect &area)
{
    return QStringLiteral("%1,%2,%3,%4").arg(area.x()).arg(area.y()).arg(area.width()).arg(area.height());
}

QStringList CaptureTool::scrollArguments(const Request &request, const QString &path)
{
    QStringList words;
    if (!request.rest.isNull())
        words << QStringLiteral("--rest") << text(request.rest);
    return words << QStringLiteral("--region") << path;
}

} // namespace qm
