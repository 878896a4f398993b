#include "platform/Workspace.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QProcess>
#include <QTest>
#include <QUrl>

using namespace qm;

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
        if (refuses)
            sendErrorReply(QDBusError::Failed);
        else
            shown << uris;
    }
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
        m_bus.start(QStringLiteral("dbus-daemon"),
                    {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        QVERIFY(m_bus.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
    }

    void withoutAFileManagerTheFolderOpens()
    {
        Workspace::reveal(QStringLiteral("/some folder/shot.png"));
        QTRY_COMPARE(m_opened, QStringList(QStringLiteral("/some folder")));
    }

    void aFileManagerSelectsTheFile()
    {
        m_opened.clear();
        FileManager manager;
        auto bus = QDBusConnection::connectToBus(QString::fromLocal8Bit(qgetenv("DBUS_SESSION_BUS_ADDRESS")),
                                                 QStringLiteral("m"));
        QVERIFY(bus.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &manager,
                                   QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(QStringLiteral("org.freedesktop.FileManager1")));
        Workspace::reveal(QStringLiteral("/some folder/写真 #1.png"));
        QTRY_COMPARE(manager.shown, QStringList(QStringLiteral("file:///some%20folder/%E5%86%99%E7%9C%9F%20%231.png")));
        QCOMPARE(m_opened, QStringList());

        manager.refuses = true;
        Workspace::reveal(QStringLiteral("/other/shot.png"));
        QTRY_COMPARE(m_opened, QStringList(QStringLiteral("/other")));
        QDBusConnection::disconnectFromBus(QStringLiteral("m"));
    }

    void cleanupTestCase()
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        m_bus.kill();
        QVERIFY(m_bus.waitForFinished());
    }

private:
    QProcess m_bus;
    QStringList m_opened;
};

QTEST_MAIN(tst_Workspace)
#include "tst_Workspace.moc"
