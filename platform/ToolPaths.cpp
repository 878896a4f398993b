#include "platform/ToolPaths.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace qm {

static std::optional<QString> besideExecutable(const QString &name)
{
    const QString folder = QCoreApplication::applicationDirPath();
    const QString path = folder + u'/' + name;
    return !folder.isEmpty() && QFileInfo::exists(path) ? std::optional(path) : std::nullopt;
}

ToolPaths toolPaths()
{
    return {.capture = besideExecutable(QStringLiteral("qmcapture")),
            .scroll = besideExecutable(QStringLiteral("qmscroll")),
            .ocr = besideExecutable(QStringLiteral("qmocr"))};
}

} // namespace qm
