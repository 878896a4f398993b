#pragma once

#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QVariantMap>

#include <functional>

namespace qm {

// Two shortcuts, for a region and for a window, by the desktop's portal (org.freedesktop.portal.GlobalShortcuts), which may ask
// the user about them the first time. Of ordinary keys: a modifier by itself would be taken from all other programs, with the
// letter that follows it. Main thread; nothing here waits.
class PortalShortcuts : public QObject
{
    Q_OBJECT

public:
    enum class Capture { region, window };

    // The names are shown by the desktop, beside the keys.
    PortalShortcuts(const QString &regionName, const QString &windowName, std::function<void(Capture)> activated);

    void start(); // again after the portal has come back, by itself
    void stop();
    bool isListening() const { return m_isBound; }

private Q_SLOTS:
    void sessionMade(uint code, const QVariantMap &results);
    void listed(uint code, const QVariantMap &results);
    void bound(uint code, const QVariantMap &results);
    void activated(const QDBusMessage &signal);
    void ended();

private:
    void makeSession();
    void close(const QString &session);
    void request(const QString &method, QVariantList arguments, QVariantMap options, const char *answered);

    const QString m_regionName, m_windowName;
    const std::function<void(Capture)> m_activated;
    QDBusServiceWatcher m_portal;
    QString m_session; // object path; empty without one
    int m_requests = 0;
    bool m_isAskedForSession = false; // and has not answered; a second of the same name would be refused
    bool m_isWanted = false;
    bool m_isBound = false;
    bool m_hasVanished = false; // the portal, since the last session was asked for
};

} // namespace qm
