#include "platform/Notification.h"

#include "platform/WindowActivation.h"
#include "platform/linux/SessionBus.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

namespace qm {

namespace {

// freedesktop.org's Desktop Notifications Specification.
const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString object = QStringLiteral("/org/freedesktop/Notifications");
const QString applicationId = QStringLiteral("org.quillmere.Quillmere"); // also the icon's name

void ask(const QString &method, const QVariantList &arguments,
         const std::function<void(const QDBusMessage &answer)> &answered)
{
    SessionBus::ask(service, object, method, arguments, answered);
}

// Hears what the user does with the newest message that offers something.
class Offers : public QObject
{
    Q_OBJECT

public:
    static Offers &shared()
    {
        static Offers offers;
        return offers;
    }

    void await(uint id, const QList<Notification::Action> &actions)
    {
        m_id = id;
        m_actions = actions;
    }

private Q_SLOTS:
    // Named after the signals. The token comes first.
    void ActivationToken(uint id, const QString &token) { m_token = id == m_id ? token : QString(); }
    void ActionInvoked(uint id, const QString &key)
    {
        if (id != m_id)
            return;
        const WindowActivation activation(std::exchange(m_token, {}));
        const qsizetype index = key == QLatin1StringView("default") ? 0 : key.toInt();
        if (index < m_actions.size())
            QList(m_actions)[index].chosen(); // which may offer something new
    }

private:
    Offers()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.connect(service, object, service, QStringLiteral("ActivationToken"), this,
                    SLOT(ActivationToken(uint, QString)));
        bus.connect(service, object, service, QStringLiteral("ActionInvoked"), this,
                    SLOT(ActionInvoked(uint, QString)));
    }

    uint m_id = 0;
    QString m_token; // for the window that the next action opens
    QList<Notification::Action> m_actions;
};

struct Message {
    QString title, text, picture = {};
    QList<Notification::Action> actions = {};
};

void send(const Message &message, const std::function<void()> &unserved)
{
    ask(QStringLiteral("GetCapabilities"), {}, [message, unserved](const QDBusMessage &capabilities) {
        if (capabilities.type() != QDBusMessage::ReplyMessage)
            return unserved();
        const QStringList can = capabilities.arguments().value(0).toStringList();
        QStringList actions;
        if (can.contains(QStringLiteral("actions"))) {
            for (qsizetype i = 0; i < message.actions.size(); ++i) {
                if (i == 0)
                    actions << QStringLiteral("default") << message.actions[i].label;
                actions << QString::number(i) << message.actions[i].label;
            }
        }
        QVariantMap hints{{QStringLiteral("desktop-entry"), applicationId}};
        if (!message.picture.isEmpty())
            hints.insert(QStringLiteral("image-path"),
                         QUrl::fromLocalFile(message.picture).toString(QUrl::FullyEncoded));
        const QVariantList arguments = {
            QStringLiteral("Quillmere"),
            0U, // replaces none
            applicationId, message.title,
            // Other servers would show the escapes.
            can.contains(QStringLiteral("body-markup")) ? message.text.toHtmlEscaped() : message.text, actions, hints,
            -1, // for as long as the server thinks right
        };
        ask(QStringLiteral("Notify"), arguments, [message, unserved](const QDBusMessage &answer) {
            if (answer.type() != QDBusMessage::ReplyMessage)
                unserved();
            else if (!message.actions.isEmpty())
                Offers::shared().await(answer.arguments().value(0).toUInt(), message.actions);
        });
    });
}

} // namespace

void Notification::show(const QString &title, const QString &text, const std::function<void()> &unserved)
{
    send({title, text}, unserved);
}

void Notification::offer(const QString &title, const QString &text, const QString &picture,
                         const QList<Action> &actions, const std::function<void()> &unserved)
{
    Offers::shared(); // listens before the message can be answered
    send({title, text, picture, actions}, unserved);
}

} // namespace qm

#include "Notification.moc"
