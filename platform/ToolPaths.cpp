#include "platform/ToolPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace qm {

// macOS has its own capture tool; qmcapture takes the same arguments.
#ifdef Q_OS_MACOS
static constexpr char16_t captureTool[] = u"/usr/sbin/screencapture";
#else
static constexpr char16_t captureTool[] = u"qmcapture";
#endif

static std::optional<QString> besideExecutable(const QString &name)
{
    const QString folder = QCoreApplication::applicationDirPath();
    const QString path = QDir(folder).filePath(name); // leaves absolute names unchanged
    return !folder.isEmpty() && QFileInfo::exists(path) ? std::optional(path) : std::nullopt;
}

ToolPaths toolPaths()
{
    return {.capture = besideExecutable(QString::fromUtf16(captureTool)),
            .scroll = besideExecutable(QStringLiteral("qmscroll")),
            .keys = besideExecutable(QStringLiteral("qmkeys")),
            .ocr = besideExecutable(QStringLiteral("qmocr")),
            .decode = besideExecutable(QStringLiteral("qmdecode"))};
}

} // namespace qm
