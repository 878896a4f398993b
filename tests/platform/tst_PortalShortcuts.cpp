// Shortcuts of the desktop's portal in place of the trigger key, on a session bus of its own, by a portal that is not one.

#include "platform/linux/KeyMonitorWayland.h"
#include "platform/linux/PortalShortcuts.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.portal.Desktop"_s;
const QString object = u"/org/freedesktop/portal/desktop"_s;
const QString interface = u"org.freedesktop.portal.GlobalShortcuts"_s;

enum class Mood { grants, grantsSayingTwo, knowsThem, refuses, hasNone, hesitates };

class Portal : public QDBusVirtualObject
{
public:
    Portal(QDBusConnection bus, Mood mood)
        : m_bus(bus)
        , m_mood(mood)
    {
        m_bus.registerVirtualObject(object, this, QDBusConnection::SubPath);
        m_bus.registerService(service);
    }
    ~Portal() override
    {
        m_bus.unregisterService(service);
        m_bus.unregisterObject(object, QDBusConnection::UnregisterTree);
    }

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &) override
    {
        m_calls += call.member();
        if (call.interface() != interface || m_mood == Mood::hasNone)
            return false;
        const auto options = qdbus_cast<QVariantMap>(call.arguments().constLast());
        const QString sender = call.service().sliced(1).replace(u'.', u'_');
        const QString request = object + u"/request/"_s + sender + u'/' + options[u"handle_token"_s].toString();
        m_bus.send(call.createReply(QVariant::fromValue(QDBusObjectPath(request))));
        QVariantMap results;
        uint code = 0;
        if (call.member() == u"CreateSession") {
            m_shortcuts = options[u"shortcuts"_s];
            m_session = object + u"/session/"_s + sender + u'/' + options[u"session_handle_token"_s].toString();
            results.insert(u"session_handle"_s, m_session);
        } else if (call.member() == u"ListShortcuts" && m_mood == Mood::knowsThem) {
            results.insert(u"shortcuts"_s, m_shortcuts);
        } else if (call.member() == u"BindShortcuts") {
            code = m_mood == Mood::grants ? 0 : m_mood == Mood::refuses ? 1 : 2;
            if (m_mood != Mood::refuses)
                results.insert(u"shortcuts"_s, QVariant::fromValue(call.arguments().at(1)));
        }
        QDBusMessage answer = QDBusMessage::createSignal(request, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        answer << code << results;
        m_answer = answer;
        return m_mood == Mood::hesitates || m_bus.send(answer);
    }
    void answerAtLast() { m_bus.send(m_answer); }
    void activate(const QString &id, const QString &session = {})
    {
        QDBusMessage signal = QDBusMessage::createSignal(object, interface, u"Activated"_s);
        signal << QVariant::fromValue(QDBusObjectPath(session.isEmpty() ? m_session : session)) << id << qulonglong(1)
               << QVariantMap();
        m_bus.send(signal);
    }
    QString session() const { return m_session; }
    QStringList calls() const { return m_calls; }

private:
    QDBusConnection m_bus;
    const Mood m_mood;
    QVariant m_shortcuts;
    QString m_session;
    QStringList m_calls;
    QDBusMessage m_answer; // the latest
};

} // namespace

Q_DECLARE_METATYPE(Mood)

class tst_PortalShortcuts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        QVERIFY(m_bus.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
        qunsetenv("SWAYSOCK");
        qunsetenv("XDG_CURRENT_DESKTOP");
    }
    void cleanupTestCase()
    {
        m_bus.terminate(); // killed, it would leave its socket
        QVERIFY(m_bus.waitForFinished());
    }

    void road_data()
    {
        QTest::addColumn<Mood>("mood");
        QTest::addColumn<bool>("isHeard");
        QTest::newRow("grants") << Mood::grants << true;
        QTest::newRow("grants, and says otherwise") << Mood::grantsSayingTwo << true;
        QTest::newRow("knows them from before") << Mood::knowsThem << true;
        QTest::newRow("refuses") << Mood::refuses << false;
        QTest::newRow("has no shortcuts") << Mood::hasNone << false;
    }

    void road()
    {
        QFETCH(Mood, mood);
        QFETCH(bool, isHeard);
        const QDBusConnection bus =
            QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"portal"_s);
        auto portal = std::make_unique<Portal>(bus, mood);
        std::vector<KeyEvent> told;
        const std::unique_ptr<KeyMonitor> monitor = makeKeyMonitorWayland({});
        monitor->setTrigger(60);
        monitor->start([&told](const KeyEvent &event) { told.push_back(event); });
        const QString last = mood == Mood::hasNone     ? u"CreateSession"_s
                             : mood == Mood::knowsThem ? u"ListShortcuts"_s
                                                       : u"BindShortcuts"_s;
        QTRY_VERIFY(portal->calls().contains(last));
        QTRY_COMPARE(monitor->road(), isHeard ? KeyRoad::portal : KeyRoad::none);
        QVERIFY(mood != Mood::knowsThem || !portal->calls().contains(u"BindShortcuts"_s));
        if (!isHeard)
            return;
        QVERIFY(portal->session().endsWith(u"/quillmere"_s)); // by which keys may be remembered
        portal->activate(u"region"_s, u"/another"_s);
        portal->activate(u"window"_s);
        portal->activate(u"region"_s);
        QTRY_COMPARE(told.size(), size_t(2));
        QVERIFY(told[0].type == KeyEvent::Type::usedAlone && told[0].keyCode == 60 && told[0].held > told[1].held);

        portal.reset();
        QTRY_COMPARE(monitor->road(), KeyRoad::none);
        portal = std::make_unique<Portal>(bus, mood);
        QTRY_COMPARE(monitor->road(), KeyRoad::portal);
    }

    void stoppedBeforeThereIsASession()
    {
        Portal portal(QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"portal"_s),
                      Mood::hesitates);
        PortalShortcuts shortcuts({}, {}, [](PortalShortcuts::Capture) {});
        shortcuts.start();
        QTRY_VERIFY(portal.calls().contains(u"CreateSession"_s));
        shortcuts.stop();
        shortcuts.start(); // asks for no second one
        shortcuts.stop();
        portal.answerAtLast();
        QTRY_COMPARE(portal.calls().constLast(), u"Close"_s);
        QCOMPARE(portal.calls().count(u"CreateSession"_s), 1);
    }

private:
    QProcess m_bus;
};

QTEST_GUILESS_MAIN(tst_PortalShortcuts)
#include "tst_PortalShortcuts.moc"
