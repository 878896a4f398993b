#include "platform/Workspace.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QUrl>

namespace qm {

// A file manager that has to be started first takes a while; after this long, the user should see something.
static constexpr int answerLimit = 5000; // ms

// freedesktop.org's File Manager D-Bus Interface.
void Workspace::reveal(const QString &path)
{
    const QString folder = QFileInfo(path).path();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return openFolder(folder); // a call would never end
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString uri = QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded());
    call << QStringList(uri) << QString(); // no startup notification
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, answerLimit));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, folder] {
        if (QDBusPendingReply<>(*watcher).isError())
            openFolder(folder);
        watcher->deleteLater();
    });
}

QString Workspace::fileBrowserName()
{
    return {};
}

} // namespace qm
