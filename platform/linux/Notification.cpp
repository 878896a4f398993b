#include "platform/Notification.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QStringList>
#include <QVariantMap>

namespace qm {

static constexpr int answerLimit = 5000; // ms; the bus may have to start the server first

// freedesktop.org's Desktop Notifications Specification.
static const QString service = QStringLiteral("org.freedesktop.Notifications");
static const QString applicationId = QStringLiteral("org.quillmere.Quillmere"); // also the icon's name

static void ask(const QString &method, const QVariantList &arguments,
                const std::function<void(const QDBusMessage &answer)> &answered)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return answered({}); // a call would never end
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/Notifications"), service, method);
    call.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, answerLimit));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, answered] {
        watcher->deleteLater();
        answered(watcher->reply());
    });
}

void Notification::show(const QString &title, const QString &text, const std::function<void()> &unserved)
{
    const auto send = [title, text, unserved](const QDBusMessage &capabilities) {
        if (capabilities.type() != QDBusMessage::ReplyMessage)
            return unserved();
        // Other servers would show the escapes.
        const bool markup = capabilities.arguments().value(0).toStringList().contains(QStringLiteral("body-markup"));
        const QVariantList arguments = {
            QStringLiteral("Quillmere"),
            0U, // replaces none
            applicationId,
            title,
            markup ? text.toHtmlEscaped() : text,
            QStringList(), // no actions
            QVariantMap{{QStringLiteral("desktop-entry"), applicationId}},
            -1, // for as long as the server thinks right
        };
        ask(QStringLiteral("Notify"), arguments, [unserved](const QDBusMessage &answer) {
            if (answer.type() != QDBusMessage::ReplyMessage)
                unserved();
        });
    };
    ask(QStringLiteral("GetCapabilities"), {}, send);
}

} // namespace qm
