#include "platform/Notification.h"
#include "platform/WindowActivation.h"
#include "platform/Workspace.h"
#include "tests/support/TempHome.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QProcess>
#include <QTest>
#include <QUrl>

#include <optional>

using namespace qm;
using namespace Qt::StringLiterals;

// A file manager of the test's own.
class FileManager : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList shown;
    bool refuses = false;

public Q_SLOTS:
    void ShowItems(const QStringList &uris, const QString &)
    {
        refuses ? sendErrorReply(QDBusError::Failed) : shown.append(uris);
    }
};

// The desktop's server of messages.
class MessageServer : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList capabilities, shown;
    bool refuses = false;

public Q_SLOTS:
    QStringList GetCapabilities() { return capabilities; }
    uint Notify(const QString &application, uint replaces, const QString &icon, const QString &title,
                const QString &text, const QStringList &actions, const QVariantMap &hints, int)
    {
        if (refuses)
            sendErrorReply(QDBusError::LimitsExceeded);
        else if (replaces == 0 && !hints.contains(u"image-path"_s))
            shown << application + u'|' + icon + u'|' + title + u'|' + text + u'|' +
                         hints[u"desktop-entry"_s].toString();
        else
            shown << title + u'|' + actions.join(u',') + u'|' + hints[u"image-path"_s].toString();
        return uint(shown.size());
    }

Q_SIGNALS:
    void ActivationToken(uint id, const QString &token);
    void ActionInvoked(uint id, const QString &key);
};

// On a session bus of its own.
class tst_Workspace : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void openUrl(const QUrl &url) { m_opened << url.toLocalFile(); }

private Q_SLOTS:
    void initTestCase()
    {
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        QVERIFY(m_bus.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
    }
    void cleanupTestCase()
    {
        m_bus.terminate(); // killed, it would leave its socket
        QVERIFY(m_bus.waitForFinished());
    }

    void whatIsRevealed()
    {
        QDesktopServices::setUrlHandler(u"file"_s, this, "openUrl");

        Workspace::reveal(u"/nobody/to show/it.png"_s);
        QTRY_COMPARE(m_opened, QStringList(u"/nobody/to show"_s));

        FileManager manager;
        auto there = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"m"_s);
        QVERIFY(there.registerObject(u"/org/freedesktop/FileManager1"_s, &manager, QDBusConnection::ExportAllSlots));
        QVERIFY(there.registerService(u"org.freedesktop.FileManager1"_s));
        Workspace::reveal(u"/some folder/写真 #1.png"_s);
        QTRY_COMPARE(manager.shown, QStringList(u"file:///some%20folder/%E5%86%99%E7%9C%9F%20%231.png"_s));
        QCOMPARE(m_opened.size(), 1);

        manager.refuses = true;
        Workspace::reveal(u"/other/shot.png"_s);
        QTRY_COMPARE(m_opened.value(1), u"/other"_s);
        QDBusConnection::disconnectFromBus(u"m"_s);
    }

    void notifications()
    {
        int unserved = 0;
        const auto show = [&] { Notification::show(u"A & B"_s, u"<b> & \"c\""_s, [&] { ++unserved; }); };
        show();
        QTRY_COMPARE(unserved, 1);

        MessageServer server;
        auto there = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"s"_s);
        QVERIFY(there.registerObject(u"/org/freedesktop/Notifications"_s, &server,
                                     QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        QVERIFY(there.registerService(u"org.freedesktop.Notifications"_s));
        for (const auto &[capability, text] :
             {std::pair(u"body"_s, u"<b> & \"c\""_s), {u"body-markup"_s, u"&lt;b&gt; &amp; &quot;c&quot;"_s}}) {
            server.capabilities = {capability};
            server.shown.clear();
            show();
            QTRY_COMPARE(
                server.shown,
                QStringList(u"Quillmere|org.quillmere.Quillmere|A & B|%1|org.quillmere.Quillmere"_s.arg(text)));
        }
        QCOMPARE(unserved, 1);

        // What can be done about a picture, for the newest message and its own buttons only.
        QStringList chosen;
        const auto offer = [&](const QString &name) {
            Notification::offer(
                name, {}, u"/日本 #1.png"_s,
                {{u"Open"_s, [&, name] { chosen << name + u" opened by "_s + WindowActivation::takeOwn(); }},
                 {u"Copy"_s, [&, name] { chosen << name + u" copied"_s; }}});
        };
        for (const auto &[capability, actions] :
             {std::pair(u"body"_s, u""_s), {u"actions"_s, u"default,Open,0,Open,1,Copy"_s}}) {
            server.capabilities = {capability};
            server.shown.clear();
            offer(u"first"_s);
            QTRY_COMPARE(server.shown,
                         QStringList(u"first|"_s + actions + u"|file:///%E6%97%A5%E6%9C%AC%20%231.png"_s));
        }
        offer(u"second"_s);
        QTRY_COMPARE(server.shown.size(), 2);
        for (const auto &[id, key] : {std::pair(1U, u"1"_s), {2U, u"7"_s}, {2U, u"1"_s}, {2U, u"default"_s}})
            Q_EMIT server.ActionInvoked(id, key);
        Q_EMIT server.ActivationToken(2, u"token"_s);
        Q_EMIT server.ActionInvoked(2, u"0"_s);
        QTRY_COMPARE(chosen, (QStringList{u"second copied"_s, u"second opened by "_s, u"second opened by token"_s}));

        server.refuses = true;
        show();
        QTRY_COMPARE(unserved, 2);
        QDBusConnection::disconnectFromBus(u"s"_s);
    }

    // The trash's folder is asked for once per process, so both are one test.
    void onlyWhatHasATrashIsDeleted()
    {
        const TempHome home;
        home.write(u"日本 #1.png"_s, "picture");
        home.write(u".local/share/Trash"_s, "no folder"); // so none can be made
        std::optional<Outcome> outcome;
        const auto trash = [&] {
            outcome.reset();
            Workspace::trash(home.file(u"日本 #1.png"_s), [&](const Outcome &result) { outcome = result; });
        };
        trash();
        QVERIFY(!outcome); // not before the main thread is back
        QTRY_VERIFY(outcome);
        QVERIFY(!*outcome && !outcome->reason().isEmpty());
        QCOMPARE(home.read(u"日本 #1.png"_s), "picture");

        QVERIFY(QFile::remove(home.file(u".local/share/Trash"_s)));
        trash();
        QTRY_VERIFY(outcome);
        QVERIFY2(*outcome, qPrintable(outcome->reason()));
        QVERIFY(!QFile::exists(home.file(u"日本 #1.png"_s)));
        QCOMPARE(home.read(u".local/share/Trash/files/日本 #1.png"_s), "picture");
    }

private:
    QProcess m_bus;
    QStringList m_opened;
};

QTEST_MAIN(tst_Workspace)
#include "tst_Workspace.moc"
