#include "platform/Workspace.h"

#include <QDesktopServices>
#include <QUrl>

namespace qm {

void Workspace::openFolder(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void Workspace::openFile(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

} // namespace qm
