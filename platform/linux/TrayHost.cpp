#include "platform/TrayHost.h"
#include "platform/x11/X11Server.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xfixes.h>

namespace qm {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

// Watches both kinds of trays: a StatusNotifier host on the session bus (freedesktop.org's StatusNotifierItem), and the
// owner of _NET_SYSTEM_TRAY_S0 (freedesktop.org's System Tray Protocol).
class LinuxTrayHost : public QObject, public TrayHost
{
    Q_OBJECT

public:
    explicit LinuxTrayHost(std::function<void()> appeared)
        : m_appeared(std::move(appeared))
    {
        watchBus();
        watchSelection();
        QTimer::singleShot(0, this, &LinuxTrayHost::look);
    }

    ~LinuxTrayHost() override { m_notifier.reset(); } // must go before the connection

private Q_SLOTS:
    void look()
    {
        if (m_appeared && selectionIsOwned())
            return appear();
        const QDBusConnection bus = QDBusConnection::sessionBus();
        if (!m_appeared || !bus.isConnected())
            return;
        // Not waited for: whenever something is registered there this is asked again, also while the bus is getting stuck.
        QDBusMessage question = QDBusMessage::createMethodCall(
            watcherService, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        question.setArguments({watcherService, QStringLiteral("IsStatusNotifierHostRegistered")});
        question.setAutoStartService(false);
        auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
            answer->deleteLater();
            const QDBusPendingReply<QDBusVariant> isThere = *answer;
            if (isThere.isValid() && isThere.value().variant().toBool())
                appear();
        });
    }

private:
    void appear()
    {
        if (const std::function<void()> appeared = std::exchange(m_appeared, {})) {
            m_notifier.reset();
            appeared();
        }
    }

    void watchBus()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            return;
        auto *watcher = new QDBusServiceWatcher(watcherService, bus, QDBusServiceWatcher::WatchForRegistration, this);
        connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &LinuxTrayHost::look);
        // The watcher may appear long before a host does.
        bus.connect(watcherService, watcherPath, watcherService, QStringLiteral("StatusNotifierHostRegistered"), this,
                    SLOT(look()));
    }

    void watchSelection()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            return;
        m_server = X11Server::connect();
        m_connection = m_server.connection.get();
        if (!m_connection)
            return;
        m_selection = m_server.screenAtom("_NET_SYSTEM_TRAY_S");
        if (m_selection == XCB_ATOM_NONE)
            return;

        const xcb_query_extension_reply_t *fixes = xcb_get_extension_data(m_connection, &xcb_xfixes_id);
        if (fixes && fixes->present) {
            const Reply<xcb_xfixes_query_version_reply_t> version(
                xcb_xfixes_query_version_reply(m_connection, xcb_xfixes_query_version(m_connection, 5, 0), nullptr));
            xcb_xfixes_select_selection_input(m_connection, m_server.screen->root, m_selection,
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
            xcb_flush(m_connection);
        }
        m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read);
        connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
            while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
            }
            if (xcb_connection_has_error(m_connection))
                m_notifier->setEnabled(false);
            QMetaObject::invokeMethod(this, &LinuxTrayHost::look, Qt::QueuedConnection); // it deletes the notifier
        });
    }

    bool selectionIsOwned() const { return m_server.isOwned(m_selection); }

    std::function<void()> m_appeared; // empty once called
    X11Server m_server;
    xcb_connection_t *m_connection = nullptr; // owned by m_server; null without one
    xcb_atom_t m_selection = XCB_NONE;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace

std::unique_ptr<TrayHost> whenTrayHostAppears(std::function<void()> appeared)
{
    return std::make_unique<LinuxTrayHost>(std::move(appeared));
}

bool trayOpensMenus()
{
    return false;
}

} // namespace qm

#include "TrayHost.moc"
