#include "platform/Notification.h"

#include "platform/linux/SessionBus.h"

#include <QStringList>
#include <QVariantMap>

namespace qm {

// freedesktop.org's Desktop Notifications Specification.
static const QString service = QStringLiteral("org.freedesktop.Notifications");
static const QString applicationId = QStringLiteral("org.quillmere.Quillmere"); // also the icon's name

static void ask(const QString &method, const QVariantList &arguments,
                const std::function<void(const QDBusMessage &answer)> &answered)
{
    SessionBus::ask(service, QStringLiteral("/org/freedesktop/Notifications"), method, arguments, answered);
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
