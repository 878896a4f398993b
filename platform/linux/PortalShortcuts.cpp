#include "platform/linux/PortalShortcuts.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>

#include <algorithm>

namespace qm {

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString object = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
const QString regionId = QStringLiteral("region"), windowId = QStringLiteral("window");

} // namespace

// As on the bus, (sa{sv}). Outside of the unnamed namespace, where Qt would not find its operators.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

static QDBusArgument &operator<<(QDBusArgument &argument, const PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

static const QDBusArgument &operator>>(const QDBusArgument &argument, PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

using PortalShortcutList = QList<PortalShortcut>;

// What is asked for. The keys are a wish, in freedesktop.org's words for them.
static PortalShortcutList wanted(const QString &regionName, const QString &windowName)
{
    const auto shortcut = [](const QString &id, const QString &description, const char16_t *keys) {
        return PortalShortcut{id,
                              {{QStringLiteral("description"), description},
                               {QStringLiteral("preferred_trigger"), QString::fromUtf16(keys)}}};
    };
    return {shortcut(regionId, regionName, u"LOGO+SHIFT+r"), shortcut(windowId, windowName, u"LOGO+SHIFT+w")};
}

static bool hasAll(const QVariantMap &results)
{
    const auto given = qdbus_cast<PortalShortcutList>(results.value(QStringLiteral("shortcuts")));
    const auto has = [&given](const QString &id) {
        return std::any_of(given.begin(), given.end(), [&id](const PortalShortcut &each) { return each.id == id; });
    };
    return has(regionId) && has(windowId);
}

PortalShortcuts::PortalShortcuts(const QString &regionName, const QString &windowName,
                                 std::function<void(Capture)> activated)
    : m_regionName(regionName)
    , m_windowName(windowName)
    , m_activated(std::move(activated))
    , m_portal(service, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForOwnerChange)
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<PortalShortcutList>();
    connect(&m_portal, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &owner) {
                if (owner.isEmpty()) {
                    m_hasVanished = true;
                    m_isAskedForSession = false;
                    ended();
                } else if (m_isWanted && std::exchange(m_hasVanished, false)) {
                    makeSession(); // otherwise it was started by what it is asked already
                }
            });
    QDBusConnection::sessionBus().connect(service, object, interface, QStringLiteral("Activated"), this,
                                          SLOT(activated(QDBusMessage)));
}

void PortalShortcuts::start()
{
    if (m_isWanted)
        return;
    m_isWanted = true;
    if (QDBusConnection::sessionBus().isConnected())
        makeSession();
}

void PortalShortcuts::stop()
{
    m_isWanted = false;
    if (!m_session.isEmpty())
        close(m_session);
    ended();
}

void PortalShortcuts::close(const QString &session)
{
    QDBusConnection::sessionBus().asyncCall(
        QDBusMessage::createMethodCall(service, session, sessionInterface, QStringLiteral("Close")));
}

// Desktops keep the keys by the application's identity; portals that do not ask for it, by the session's name.
void PortalShortcuts::makeSession()
{
    if (std::exchange(m_isAskedForSession, true))
        return;
    QDBusMessage identity = QDBusMessage::createMethodCall(
        service, object, QStringLiteral("org.freedesktop.host.portal.Registry"), QStringLiteral("Register"));
    identity << QStringLiteral("org.quillmere.Quillmere") << QVariantMap();
    QDBusConnection::sessionBus().asyncCall(identity); // older portals have no such method
    request(QStringLiteral("CreateSession"), {},
            {{QStringLiteral("session_handle_token"), QStringLiteral("quillmere")},
             {QStringLiteral("shortcuts"),
              QVariant::fromValue(wanted(m_regionName, m_windowName))}}, // KDE's takes them here, before Plasma 6
            SLOT(sessionMade(uint, QVariantMap)));
}

void PortalShortcuts::sessionMade(uint code, const QVariantMap &results)
{
    m_isAskedForSession = false;
    const QString session = results.value(QStringLiteral("session_handle")).toString();
    if (code != 0 || session.isEmpty())
        return ended();
    if (!m_isWanted)
        return close(session);
    m_session = session;
    QDBusConnection::sessionBus().connect(service, m_session, sessionInterface, QStringLiteral("Closed"), this,
                                          SLOT(ended()));
    // Asked for what is there already, some desktops open their settings each time.
    request(QStringLiteral("ListShortcuts"), {QVariant::fromValue(QDBusObjectPath(m_session))}, {},
            SLOT(listed(uint, QVariantMap)));
}

void PortalShortcuts::listed(uint, const QVariantMap &results)
{
    if (m_session.isEmpty())
        return;
    if (hasAll(results))
        return bound(0, results);
    request(QStringLiteral("BindShortcuts"),
            {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(wanted(m_regionName, m_windowName)),
             QString()},
            {}, SLOT(bound(uint, QVariantMap)));
}

// The code does not count: GNOME's portal says 2 though it has done it.
void PortalShortcuts::bound(uint, const QVariantMap &results)
{
    m_isBound = !m_session.isEmpty() && hasAll(results);
}

void PortalShortcuts::activated(const QDBusMessage &signal)
{
    const QString id = signal.arguments().value(1).toString();
    if (m_isBound && signal.arguments().value(0).value<QDBusObjectPath>().path() == m_session &&
        (id == regionId || id == windowId))
        m_activated(id == regionId ? Capture::region : Capture::window);
}

void PortalShortcuts::ended()
{
    m_session.clear();
    m_isBound = false;
}

// The answer comes as a signal of an object that the request names itself, so that it cannot be missed. There may never be one,
// where the user leaves a dialog alone.
void PortalShortcuts::request(const QString &method, QVariantList arguments, QVariantMap options, const char *answered)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString token = QStringLiteral("quillmere%1").arg(++m_requests);
    const QString path =
        object + QStringLiteral("/request/") + bus.baseService().sliced(1).replace(u'.', u'_') + u'/' + token;
    bus.connect(service, path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"), this,
                answered);
    options.insert(QStringLiteral("handle_token"), token);
    arguments.append(options);
    QDBusMessage call = QDBusMessage::createMethodCall(service, object, interface, method);
    call.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        if (watcher->isError()) { // this desktop's portal has no shortcuts
            m_isAskedForSession = false;
            ended();
        }
    });
}

} // namespace qm
