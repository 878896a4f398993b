#include "platform/Workspace.h"

#include "platform/linux/SessionBus.h"

#include <QFileInfo>
#include <QUrl>

namespace qm {

// freedesktop.org's File Manager D-Bus Interface.
void Workspace::reveal(const QString &path)
{
    const QString service = QStringLiteral("org.freedesktop.FileManager1");
    const QString uri = QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded());
    const QVariantList arguments = {QStringList(uri), QString()}; // no startup notification
    SessionBus::ask(service, QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("ShowItems"), arguments,
                    [folder = QFileInfo(path).path()](const QDBusMessage &answer) {
                        if (answer.type() != QDBusMessage::ReplyMessage)
                            openFolder(folder);
                    });
}

QString Workspace::fileBrowserName()
{
    return {};
}

} // namespace qm
