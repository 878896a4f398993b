#include "platform/linux/SessionBus.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>

namespace qm {

static constexpr int answerLimit = 5000; // ms

void SessionBus::ask(const QString &service, const QString &object, const QString &method,
                     const QVariantList &arguments, const std::function<void(const QDBusMessage &answer)> &answered)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return answered({}); // a call would never end
    QDBusMessage call = QDBusMessage::createMethodCall(service, object, service, method);
    call.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, answerLimit));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, answered] {
        watcher->deleteLater();
        answered(watcher->reply());
    });
}

} // namespace qm
