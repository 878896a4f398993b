// A monitor by the portal's screen cast, of which there is a stand-in here, up to PipeWire; and which pixels are asked for, and
// are taken from a buffer.

#include "helpers/qmscroll/pipewire/StreamPixels.h"
#include "helpers/qmscroll/wayland/CastFrames.h"
#include "helpers/qmscroll/wayland/WholePixels.h"
#include "helpers/wayland/desktop/ScreenCast.h"
#include "tests/support/TempHome.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QFileInfo>
#include <QPoint>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <sys/socket.h>
#include <unistd.h>

using namespace qm;
using namespace Qt::StringLiterals;

struct Stream {
    uint node = 0;
    QVariantMap properties = {};
};
Q_DECLARE_METATYPE(Stream)

QDBusArgument &operator<<(QDBusArgument &argument, const Stream &stream)
{
    argument.beginStructure();
    argument << stream.node << stream.properties;
    argument.endStructure();
    return argument;
}
const QDBusArgument &operator>>(const QDBusArgument &argument, Stream &stream)
{
    argument.beginStructure();
    argument >> stream.node >> stream.properties;
    argument.endStructure();
    return argument;
}

constexpr QPoint notTold(-1, -1);

class Portal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.ScreenCast")

public:
    QPoint chosen; // the corner of the monitor that the user would choose; notTold: not every portal says
    uint code = 0; // the user's answer
    QHash<QString, QPoint> remembered;
    bool refusesTokens = false;
    bool isStopped = false; // by the user, as soon as there is a stream
    QStringList asked;      // each time with this token

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap &options)
    {
        m_session = u"/session/"_s + options[u"session_handle_token"_s].toString();
        return respond(options, 0, {{u"session_handle"_s, m_session}});
    }
    QDBusObjectPath SelectSources(const QDBusObjectPath &, const QVariantMap &options)
    {
        asked.append(options[u"restore_token"_s].toString());
        if (refusesTokens && options.contains(u"restore_token"_s))
            sendErrorReply(u"org.freedesktop.portal.Error.InvalidArgument"_s, u"no"_s);
        else if (options[u"types"_s].toUInt() != 1 || options[u"cursor_mode"_s].toUInt() != 1)
            sendErrorReply(u"org.freedesktop.portal.Error.InvalidArgument"_s, u"more than a monitor"_s);
        return respond(options, 0, {});
    }
    QDBusObjectPath Start(const QDBusObjectPath &, const QString &, const QVariantMap &options)
    {
        const bool isRemembered = remembered.contains(asked.last());
        const QPoint place = isRemembered ? remembered[asked.last()] : chosen;
        QList<Stream> streams = {{7, {{u"size"_s, QPoint(800, 600)}}}};
        if (place != notTold)
            streams[0].properties[u"position"_s] = place;
        return respond(options, isRemembered ? 0 : code,
                       {{u"streams"_s, QVariant::fromValue(streams)}, {u"restore_token"_s, u"next"_s}});
    }
    QDBusUnixFileDescriptor OpenPipeWireRemote(const QDBusObjectPath &, const QVariantMap &)
    {
        if (isStopped) // the answer comes after it
            connection().send(QDBusMessage::createSignal(m_session, u"org.freedesktop.portal.Session"_s, u"Closed"_s));
        int ends[2] = {}; // of a connection that nobody serves
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
        const QDBusUnixFileDescriptor remote(ends[0]);
        close(ends[0]);
        close(ends[1]);
        return remote;
    }

private:
    QDBusObjectPath respond(const QVariantMap &options, uint answer, const QVariantMap &results)
    {
        const QString sender = message().service().mid(1).replace(u'.', u'_');
        const QString path =
            u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, options[u"handle_token"_s].toString());
        QDBusMessage response = QDBusMessage::createSignal(path, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        connection().send(response << answer << (answer == 0 ? results : QVariantMap()));
        return QDBusObjectPath(path);
    }

    QString m_session;
};

class tst_CastFrames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qDBusRegisterMetaType<Stream>();
        qDBusRegisterMetaType<QList<Stream>>();
        m_home.write(u"bus.conf"_s, "<busconfig><type>session</type><listen>unix:tmpdir=" + m_home.path().toUtf8() +
                                        "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                                        "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
        m_bus.start(u"dbus-daemon"_s,
                    {u"--config-file="_s + m_home.file(u"bus.conf"_s), u"--nofork"_s, u"--print-address"_s});
        QVERIFY(m_bus.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
    }
    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(u"portal"_s);
        m_bus.terminate(); // killed, it would leave its socket
        QVERIFY(m_bus.waitForFinished());
    }

    void asks_data()
    {
        QTest::addColumn<QPoint>("chosen");
        QTest::addColumn<uint>("code");
        QTest::addColumn<QPoint>("remembered"); // with the token
        QTest::addColumn<bool>("refusesTokens");
        QTest::addColumn<QByteArray>("kept");
        QTest::addColumn<QStringList>("asked");
        QTest::addColumn<QByteArray>("keptThen");
        QTest::addColumn<QString>("failure");
        const QPoint here(800, 0), other(0, 0);
        const QByteArray none, token = R"({"DP-2":"token"})", next = R"({"DP-2":"next"})";
        const QStringList once = {QString()}, again = {u"token"_s, QString()};
        const QString noStream = u"PipeWire gives no picture of the screen"_s; // all is well up to there
        QTest::newRow("first time") << here << 0U << other << false << none << once << next << noStream;
        QTest::newRow("later") << other << 1U << here << false << token << QStringList{u"token"_s} << next << noStream;
        QTest::newRow("another monitor's token") << here << 0U << other << false << token << again << next << noStream;
        QTest::newRow("no token") << here << 0U << here << true << token << again << next << noStream;
        QTest::newRow("place not told") << notTold << 0U << other << false << none << once << next << noStream;
        QTest::newRow("another monitor's token, then cancelled")
            << here << 1U << other << false << token << again << token << QString();
        QTest::newRow("cancelled") << here << 1U << other << false << none << once << none << QString();
        QTest::newRow("another monitor") << other << 0U << other << false << none << once << none
                                         << u"the monitor that was chosen is not the one with the region"_s;
        QTest::newRow("refused") << here << 2U << other << false << none << once << none
                                 << u"this desktop does not let the screen be recorded"_s;
    }
    void asks()
    {
        QFETCH(QPoint, chosen);
        QFETCH(uint, code);
        QFETCH(QPoint, remembered);
        QFETCH(bool, refusesTokens);
        QFETCH(QByteArray, kept);
        const QString file = m_home.file(u".quillmere/screencasts.json"_s);
        QFile::remove(file);
        if (!kept.isEmpty())
            m_home.write(u".quillmere/screencasts.json"_s, kept);
        Portal portal;
        portal.chosen = chosen;
        portal.code = code;
        portal.remembered = {{u"token"_s, remembered}};
        portal.refusesTokens = refusesTokens;
        QString failure;
        bool isThere = true;
        askWith(portal, [&] {
            const RegionPart part = {"DP-2", {10, 20, 100, 100}, {800, 600}, {800, 0, 800, 600}};
            isThere = openCastFrames(part, &failure) != nullptr;
        });
        QVERIFY(!isThere);
        QTEST(failure, "failure");
        QTEST(portal.asked, "asked");
        QByteArray keptThen = m_home.read(u".quillmere/screencasts.json"_s);
        QTEST(keptThen.replace(' ', "").replace('\n', ""), "keptThen");
        if (keptThen != kept)
            QCOMPARE(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    }

    void stopped_data()
    {
        QTest::addColumn<bool>("isStopped");
        QTest::newRow("by the user") << true;
        QTest::newRow("not at all") << false;
    }
    void stopped()
    {
        QFETCH(bool, isStopped);
        Portal portal;
        portal.isStopped = isStopped;
        std::optional<bool> hasEnded;
        askWith(portal, [&] {
            ScreenCast cast;
            if (cast.begin({}) != ScreenCast::Begun::yes)
                return;
            close(cast.openRemote());
            hasEnded = cast.hasEnded();
        });
        QCOMPARE(hasEnded, std::optional(isStopped));
    }

    void buffers_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<qint64>("bytesPerLine");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QRect>("part");
        QTest::addColumn<QColor>("corner"); // invalid: there is no picture
        const int blueFirst = SPA_VIDEO_FORMAT_BGRx, redFirst = SPA_VIDEO_FORMAT_RGBA;
        const QSize size(4, 3);
        const QRect part(1, 1, 2, 2);
        // Four rows of five pixels, of which each byte is its place.
        QTest::newRow("rows longer than they are wide")
            << blueFirst << qint64(0) << qint64(20) << size << part << QColor(26, 25, 24);
        QTest::newRow("red first") << redFirst << qint64(0) << qint64(20) << size << part << QColor(24, 25, 26);
        QTest::newRow("begins later") << blueFirst << qint64(20) << qint64(20) << size << part << QColor(46, 45, 44);
        QTest::newRow("last row first") << blueFirst << qint64(60) << qint64(-20) << size << part << QColor(46, 45, 44);
        QTest::newRow("ends early") << blueFirst << qint64(40) << qint64(20) << size << part << QColor();
        QTest::newRow("begins before it") << blueFirst << qint64(20) << qint64(-20) << size << part << QColor();
        QTest::newRow("rows too short") << blueFirst << qint64(0) << qint64(12) << size << part << QColor();
        QTest::newRow("smaller than the part")
            << blueFirst << qint64(0) << qint64(20) << size << QRect(3, 1, 2, 2) << QColor();
        QTest::newRow("another format") << int(SPA_VIDEO_FORMAT_NV12) << qint64(0) << qint64(20) << size << part
                                        << QColor();
    }
    void buffers()
    {
        QFETCH(QRect, part);
        QFETCH(QColor, corner);
        QFETCH(qint64, offset);
        QFETCH(qint64, bytesPerLine);
        QFETCH(QSize, size);
        QFETCH(int, format);
        std::array<uchar, 80> memory;
        for (size_t i = 0; i < memory.size(); ++i)
            memory[i] = uchar(i);
        const QImage image = StreamPixels{memory, offset, bytesPerLine, size, spa_video_format(format)}.cut(part);
        QCOMPARE(image.size(), corner.isValid() ? part.size() : QSize(0, 0));
        if (corner.isValid())
            QCOMPARE(*reinterpret_cast<const QRgb *>(image.constScanLine(0)), corner.rgb()); // all of it: no alpha
    }

    void asksForWholePixels_data()
    {
        QTest::addColumn<QSize>("monitor");
        QTest::addColumn<QSize>("points");
        QTest::addColumn<QRect>("part");
        QTest::addColumn<QRect>("asked"); // null: all of the monitor
        QTest::addColumn<QPoint>("at");
        QTest::newRow("one") << QSize(800, 600) << QSize(800, 600) << QRect(3, 4, 7, 5) << QRect(3, 4, 7, 5)
                             << QPoint();
        QTest::newRow("two") << QSize(800, 600) << QSize(400, 300) << QRect(3, 4, 7, 5) << QRect(1, 2, 4, 3)
                             << QPoint(1, 0);
        QTest::newRow("five fourths") << QSize(1280, 800) << QSize(1024, 640) << QRect(7, 5, 10, 11)
                                      << QRect(4, 4, 12, 12) << QPoint(2, 0);
        QTest::newRow("to the edge") << QSize(1280, 800) << QSize(1024, 640) << QRect(1274, 790, 6, 10)
                                     << QRect(1016, 632, 8, 8) << QPoint(4, 0);
        QTest::newRow("points rounded up")
            << QSize(2560, 1440) << QSize(1707, 960) << QRect(4, 3, 3, 3) << QRect(2, 2, 4, 2) << QPoint(1, 0);
        QTest::newRow("points rounded down")
            << QSize(2560, 1440) << QSize(1706, 960) << QRect(4, 3, 3, 3) << QRect() << QPoint();
        QTest::newRow("a scale of 1.33") << QSize(1920, 1080) << QSize(1443, 812) << QRect(4, 3, 3, 3) << QRect()
                                         << QPoint();
        QTest::newRow("a scale of 1.67") << QSize(1920, 1080) << QSize(1149, 646) << QRect(4, 3, 3, 3) << QRect()
                                         << QPoint();
    }
    void asksForWholePixels()
    {
        QFETCH(QSize, monitor);
        QFETCH(QSize, points);
        QFETCH(QRect, part);
        const auto whole = wholePixelsAround({"DP-1", part, monitor, {QPoint(100, 0), points}});
        QTEST(whole ? whole->logical : QRect(), "asked");
        QTEST(whole ? whole->part : QPoint(), "at");
    }

private:
    // Asks on another thread, while the portal answers on this one.
    static void askWith(Portal &portal, const std::function<void()> &ask)
    {
        const QString object = u"/org/freedesktop/portal/desktop"_s, service = u"org.freedesktop.portal.Desktop"_s;
        QDBusConnection bus =
            QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"portal"_s);
        QVERIFY(bus.registerObject(object, &portal, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(service));
        const std::unique_ptr<QThread> asking(QThread::create(ask));
        asking->start();
        QTRY_VERIFY_WITH_TIMEOUT(asking->isFinished(), 20000);
        bus.unregisterObject(object);
        QVERIFY(bus.unregisterService(service));
    }

    const TempHome m_home;
    QProcess m_bus;
};

QTEST_GUILESS_MAIN(tst_CastFrames)
#include "tst_CastFrames.moc"
