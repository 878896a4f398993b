// Captures where the compositor lets nobody read its pixels: of the desktop's services there are stand-ins here.

#include "helpers/curtain/Dimming.h"
#include "platform/CaptureRoad.h"
#include "tests/support/PatternWindow.h"
#include "tests/support/SwayDesktop.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <csignal>
#include <unistd.h>

using namespace qm;
using namespace Qt::StringLiterals;

static const QString program = QStringLiteral(QM_PROGRAMS "/qmcapture");

// KWin's service. Its pictures come through the pipe once the call has been answered.
class KWin : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.KWin.ScreenShot2")

public:
    QHash<QString, QImage> pictures; // by monitor, and by window
    QVariantMap instead;             // of what the answer says
    int missingBytes = 0;            // at the end

public Q_SLOTS:
    QVariantMap CaptureWindow(const QString &id, const QVariantMap &options, const QDBusUnixFileDescriptor &pipe)
    {
        return CaptureScreen(id, options, pipe);
    }
    QVariantMap CaptureScreen(const QString &name, const QVariantMap &, const QDBusUnixFileDescriptor &pipe)
    {
        const QImage picture = pictures.value(name);
        if (picture.isNull()) {
            sendErrorReply(u"org.kde.KWin.ScreenShot2.Error.NoAuthorized"_s, u"no"_s);
            return {};
        }
        QTimer::singleShot(0, this, [this, picture, pipe] {
            const int count = int(picture.sizeInBytes()) - missingBytes;
            for (int sent = 0; sent < count;) { // larger than the pipe, whose reader is at work by now
                const ssize_t written = write(pipe.fileDescriptor(), picture.constBits() + sent, size_t(count - sent));
                if (written <= 0)
                    return;
                sent += int(written);
            }
        });
        QVariantMap answer = {{u"type"_s, u"raw"_s},
                              {u"width"_s, uint(picture.width())},
                              {u"height"_s, uint(picture.height())},
                              {u"stride"_s, uint(picture.bytesPerLine())},
                              {u"format"_s, uint(picture.format())},
                              {u"scale"_s, 1.0},
                              {u"screen"_s, name}};
        answer.insert(instead);
        return answer;
    }
};

// Takes scripts, of which it understands only whom they call.
class Scripting : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.kwin.Scripting")

public:
    QString file, script;
    bool isPrivate = false;
    QStringList loaded;

public Q_SLOTS:
    int loadScript(const QString &path, const QString &name)
    {
        QFile source(path);
        isPrivate = source.permissions() == (QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
        script = source.open(QIODevice::ReadOnly) ? QString::fromUtf8(source.readAll()) : QString();
        file = path;
        loaded.append(name);
        return 7;
    }
    bool unloadScript(const QString &name) { return loaded.removeOne(name); }
};

class Script : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.kwin.Script")

public:
    Scripting &scripting;
    QString list;
    Script(Scripting &all, const QString &answer)
        : scripting(all)
        , list(answer)
    {
    }

public Q_SLOTS:
    void run()
    {
        static const QRegularExpression call(u"callDBus\\(\"([^\"]+)\", \"([^\"]+)\", \"([^\"]+)\", \"([^\"]+)\""_s);
        const QRegularExpressionMatch whom = call.match(scripting.script);
        QDBusMessage message =
            QDBusMessage::createMethodCall(whom.captured(1), whom.captured(2), whom.captured(3), whom.captured(4));
        connection().send(message << list);
    }
};

using Permissions = QMap<QString, QStringList>; // by application

class Portal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Screenshot")

public:
    static constexpr uint gone = 99; // in place of a code: it leaves the bus, and answers nothing
    QString file;                    // of the answer
    uint code = 0;
    std::optional<uint> dialogCode = {}; // if it differs
    int delay = 0;                       // ms
    QList<bool> asked = {};              // for a dialog?
    std::function<void()> decided = [] {};

public Q_SLOTS:
    QDBusObjectPath Screenshot(const QString &, const QVariantMap &options)
    {
        asked.append(options[u"interactive"_s].toBool());
        const uint answer = asked.last() ? dialogCode.value_or(code) : code;
        const QString sender = message().service().mid(1).replace(u'.', u'_');
        const QString path =
            u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, options[u"handle_token"_s].toString());
        QDBusMessage response = QDBusMessage::createSignal(path, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        response << answer
                 << (answer ? QVariantMap()
                            : QVariantMap{{u"uri"_s, QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)}});
        if (const int wait = asked.last() ? 200 : delay) // nobody chooses faster, while a service may fail later
            QTimer::singleShot(wait, this, [this, answer, response, bus = connection()]() mutable {
                decided();
                answer == gone ? bus.unregisterService(u"org.freedesktop.portal.Desktop"_s) : bus.send(response);
            });
        else
            connection().send(response); // before the call has been answered
        return QDBusObjectPath(path);
    }
};

class PermissionStore : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.PermissionStore")

public:
    Permissions kept;

public Q_SLOTS:
    void DeletePermission(const QString &table, const QString &permission, const QString &application)
    {
        if (table == u"screenshot" && permission == u"screenshot")
            kept.remove(application);
    }
    void Lookup(const QString &table, const QString &, const QDBusMessage &message)
    {
        setDelayedReply(true);
        connection().send(message.createReply({QVariant::fromValue(table == u"screenshot" ? kept : Permissions()),
                                               QVariant::fromValue(QDBusVariant(0))}));
    }
};

class tst_DesktopFreeze : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qDBusRegisterMetaType<Permissions>();
        std::signal(SIGPIPE, SIG_IGN); // of a reader that gives up
        // The session's own configuration would start the machine's services in place of these.
        m_desktop.home().write(
            u"bus.conf"_s, "<busconfig><type>session</type><listen>unix:tmpdir=" + m_desktop.home().path().toUtf8() +
                               "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                               "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
        m_bus.start(u"dbus-daemon"_s,
                    {u"--config-file="_s + m_desktop.home().file(u"bus.conf"_s), u"--nofork"_s, u"--print-address"_s});
        QVERIFY(m_bus.waitForReadyRead());
        const QByteArray address = m_bus.readLine().trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        m_services = QDBusConnection::connectToBus(QString::fromLatin1(address), u"services"_s);
        m_desktop.showWindow(u"left"_s, PatternWindow::makePattern({300, 200}, 1), {50, 50});
        m_desktop.showWindow(u"right"_s, PatternWindow::makePattern({200, 200}, 2), {850, 50});
        m_desktop.movePointer({20, 20}); // sway may paint it itself
        QVERIFY(m_desktop.shows(PatternWindow::makePattern({300, 200}, 1), {50, 50}));
        for (int i = 0; i < 2; ++i)
            m_shown.append(m_desktop.picture(i));
        m_before = QImage(800 + 1200, 800, QImage::Format_RGB32);
        m_before.fill(Qt::black);
        QPainter painter(&m_before);
        painter.drawImage(0, 0, m_shown[0]);
        painter.drawImage(800, 0, m_shown[1]);
    }
    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(u"services"_s);
        m_bus.terminate(); // killed, it would leave its socket
        QVERIFY(m_bus.waitForFinished());
    }
    void cleanup()
    {
        QFile::remove(m_result);
        QDir().rmdir(m_result);
    }

    void kwin_data()
    {
        QTest::addColumn<QImage::Format>("format");
        QTest::addColumn<QVariantMap>("instead");
        QTest::addColumn<int>("missingBytes");
        QTest::addColumn<bool>("isGood");
        QTest::newRow("opaque") << QImage::Format_RGB32 << QVariantMap() << 0 << true;
        QTest::newRow("with alpha") << QImage::Format_ARGB32_Premultiplied << QVariantMap() << 0 << true;
        QTest::newRow("three bytes a pixel") << QImage::Format_RGB888 << QVariantMap() << 0 << true;
        QTest::newRow("row shorter than it is wide")
            << QImage::Format_RGB32 << QVariantMap{{u"stride"_s, 64U}} << 0 << false;
        QTest::newRow("no such format") << QImage::Format_RGB32 << QVariantMap{{u"format"_s, 4000U}} << 0 << false;
        QTest::newRow("endless") << QImage::Format_RGB32 << QVariantMap{{u"height"_s, 4'000'000'000U}} << 0 << false;
        QTest::newRow("ends early") << QImage::Format_RGB32 << QVariantMap() << 100 << false;
    }
    void kwin()
    {
        QFETCH(QImage::Format, format);
        QFETCH(QVariantMap, instead);
        QFETCH(int, missingBytes);
        QFETCH(bool, isGood);
        KWin kwin;
        kwin.instead = instead;
        kwin.missingBytes = missingBytes;
        for (int i = 0; i < 2; ++i)
            kwin.pictures.insert(u"HEADLESS-%1"_s.arg(i + 1), m_shown[i].convertToFormat(format));
        serve(u"org.kde.KWin"_s, u"/org/kde/KWin/ScreenShot2"_s, kwin);
        QProcess &helper = capture();
        QCOMPARE(helper.exitCode(), isGood ? 0 : 1); // there is no portal
        QCOMPARE(helper.readAllStandardError().count('\n'), isGood ? 0 : 1);
        QCOMPARE(QImage(m_result).convertToFormat(QImage::Format_RGB32), isGood ? m_before : QImage());
        QVERIFY(m_services.unregisterService(u"org.kde.KWin"_s));
    }

    // The window's own pixels come with a shadow, which says nothing about its size.
    void kwinWindow_data()
    {
        QTest::addColumn<QString>("script"); // where KWin has it
        QTest::addColumn<bool>("isCovered");
        QTest::addColumn<bool>("isThere");
        QTest::newRow("alone") << u"/7"_s << false << true;
        QTest::newRow("below a menu") << u"/Scripting/Script7"_s << true << true;
        QTest::newRow("closed meanwhile") << u"/7"_s << false << false;
    }
    void kwinWindow()
    {
        QFETCH(QString, script);
        QFETCH(bool, isCovered);
        QFETCH(bool, isThere);
        const QRect frame(50, 50, 300, 200);
        QImage own(frame.size(), QImage::Format_ARGB32_Premultiplied);
        own.fill(qRgb(200, 0, 0));
        own.setPixel(0, 0, 0);          // a round corner
        own.setPixel(9, 9, 0x80400000); // translucent
        QImage withShadow(340, 260, own.format());
        withShadow.fill(0x30000000);
        QPainter painter(&withShadow);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(12, 7, own);
        painter.end();
        KWin kwin;
        kwin.pictures = {{u"HEADLESS-1"_s, m_shown[0]}, {u"HEADLESS-2"_s, m_shown[1]}};
        if (isThere)
            kwin.pictures.insert(u"{1-2}"_s, withShadow);
        kwin.instead = {{u"format"_s, uint(QImage::Format_ARGB32)}}; // as the real one errs
        Scripting scripting;
        Script list(
            scripting,
            uR"([{"id":"{1-2}","title":"one","x":50,"y":50,"width":300,"height":200})"_s +
                (isCovered ? uR"(,{"id":"{3}","isPopup":true,"x":60,"y":60,"width":90,"height":90})"_s : QString()) +
                u']');
        serve(u"org.kde.KWin"_s, u"/org/kde/KWin/ScreenShot2"_s, kwin);
        serve(u"org.kde.KWin"_s, u"/Scripting"_s, scripting);
        serve(u"org.kde.KWin"_s, script, list);

        m_desktop.movePointer({100, 100});
        QProcess &helper = m_desktop.start(program, {u"-iw"_s, m_result}, {u"QUILLMERE_DISPLAY=desktop"_s});
        QImage edge(1, 1, QImage::Format_RGB32);
        edge.fill(0xff0a84ff);
        QVERIFY(m_desktop.shows(edge, frame.topLeft()));
        QVERIFY(scripting.isPrivate);
        QVERIFY(!QFile::exists(scripting.file));
        QTRY_COMPARE(scripting.loaded, QStringList());
        m_desktop.drag({100, 100}, {100, 100});
        QVERIFY(Desktop::ended(helper));
        QImage wanted = isThere ? own : m_shown[0].copy(frame);
        if (isThere && !isCovered) { // opaque pixels of the frozen screen
            wanted = m_shown[0].copy(frame).convertToFormat(own.format());
            for (const QPoint at : {QPoint(0, 0), QPoint(9, 9)})
                wanted.setPixel(at, *reinterpret_cast<const QRgb *>(own.constScanLine(at.y()) + at.x() * 4));
        }
        const QImage saved(m_result);
        QCOMPARE(saved.hasAlphaChannel(), isThere);
        QCOMPARE(saved.convertToFormat(QImage::Format_ARGB32), wanted.convertToFormat(QImage::Format_ARGB32));
        m_services.unregisterObject(script);
        QVERIFY(m_services.unregisterService(u"org.kde.KWin"_s));
        m_desktop.movePointer({20, 20});
    }

    void portal_data()
    {
        QTest::addColumn<double>("scale"); // of the picture; 0: there is none
        QTest::addColumn<uint>("code");
        QTest::addColumn<int>("delay");
        QTest::addColumn<QString>("before"); // what is kept of the user's answer
        QTest::addColumn<QString>("after");
        QTest::addColumn<QByteArray>("error");
        const QString none, no = u"no"_s, yes = u"yes"_s, ask = u"ask"_s;
        const QByteArray nothing = "qmcapture: this desktop does not give a picture of the screen\n";
        QTest::newRow("of the finer monitor's scale") << 2.0 << 0U << 200 << none << yes << QByteArray();
        QTest::newRow("answered before the call has returned") << 2.0 << 0U << 0 << yes << yes << QByteArray();
        QTest::newRow("cancelled") << 0.0 << 1U << 200 << none << none << QByteArray();
        QTest::newRow("denied by someone") << 0.0 << 2U << 200 << none << no << QByteArray();
        QTest::newRow("denied by someone who is asked each time") << 0.0 << 2U << 200 << ask << ask << QByteArray();
        QTest::newRow("denied some time ago, told late")
            << 0.0 << 2U << 200 << no << no
            << QByteArray("qmcapture: this desktop has been told not to allow screenshots\n");
        QTest::newRow("its desktop crashes") << 0.0 << 2U << 200 << none << yes << nothing;
        QTest::newRow("it crashes") << 0.0 << Portal::gone << 200 << none << none << nothing;
        QTest::newRow("no file") << 0.0 << 0U << 0 << yes << yes << nothing;
        QTest::newRow("of one window") << 0.5 << 0U << 0 << yes << yes << nothing;
    }
    void portal()
    {
        QFETCH(double, scale);
        QFETCH(uint, code);
        QFETCH(int, delay);
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QByteArray, error);
        PermissionStore store;
        const auto keep = [&store](const QString &answer) {
            if (!answer.isEmpty())
                store.kept = {{QString(), {answer}}};
        };
        keep(before);
        serve(u"org.freedesktop.impl.portal.PermissionStore"_s, u"/org/freedesktop/impl/portal/PermissionStore"_s,
              store);
        Portal portal;
        portal.decided = [&] { keep(after); };
        portal.code = code;
        portal.delay = delay;
        portal.file = m_desktop.home().file(u"Screenshot 日本.png"_s);
        const bool isWhole = scale == 2;
        if (isWhole) {
            QImage all(QSize(1400, 600) * scale, QImage::Format_RGB32); // the first monitor enlarged
            all.fill(Qt::black);
            QPainter painter(&all);
            painter.drawImage(QRect(0, 0, 1600, 1200), m_shown[0]);
            painter.drawImage(1600, 0, m_shown[1]);
            painter.end();
            QVERIFY(all.save(portal.file));
        } else if (scale > 0) {
            QVERIFY(QImage(300, 200, QImage::Format_RGB32).save(portal.file));
        }
        serve(u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s, portal);
        QProcess &helper = capture();
        QCOMPARE(helper.readAllStandardError(), error);
        QCOMPARE(helper.exitCode(), error.isEmpty() ? 0 : before == u"no" ? 3 : 1);
        QCOMPARE(QImage(m_result).convertToFormat(QImage::Format_RGB32), isWhole ? m_before : QImage());
        QVERIFY(!QFile::exists(portal.file)); // it would stay among the user's pictures
        QCOMPARE(m_services.unregisterService(u"org.freedesktop.portal.Desktop"_s), code != Portal::gone);
        QVERIFY(m_services.unregisterService(u"org.freedesktop.impl.portal.PermissionStore"_s));
    }

    // Where the portal refuses, or nobody knows the windows, its own dialog is left.
    void dialog_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<Permissions>("kept");
        QTest::addColumn<uint>("dialogCode");
        QTest::addColumn<QList<bool>>("asked"); // for a dialog?
        QTest::addColumn<int>("exitCode");
        const Permissions none, others{{u"org.example.Other"_s, {u"no"_s}}}, ours{{QString(), {u"no"_s}}};
        const QString all = u"--desktop"_s, window = u"-iw"_s;
        QTest::newRow("refused") << all << none << 0U << QList<bool>{false, true} << 0;
        QTest::newRow("denied to another program") << all << others << 0U << QList<bool>{false, true} << 0;
        QTest::newRow("denied some time ago") << all << ours << 0U << QList<bool>{false} << 3;
        QTest::newRow("not shown either") << all << none << 2U << QList<bool>{false, true} << 1;
        QTest::newRow("a window") << window << ours << 0U << QList<bool>{true} << 0;
        QTest::newRow("cancelled") << window << none << 1U << QList<bool>{true} << 0;
        QTest::newRow("cannot be saved") << window << none << 0U << QList<bool>{true} << 1;
    }
    void dialog()
    {
        QFETCH(QString, way);
        QFETCH(Permissions, kept);
        QFETCH(uint, dialogCode);
        QFETCH(QList<bool>, asked);
        QFETCH(int, exitCode);
        const bool isInTheWay = dialogCode == 0 && exitCode == 1;
        QVERIFY(!isInTheWay || QDir().mkdir(m_result));
        Portal portal;
        portal.code = 2;
        portal.dialogCode = dialogCode;
        portal.file = m_desktop.home().file(u"Screenshot.png"_s);
        const QImage window = m_shown[0].copy(50, 50, 300, 200);
        if (asked.last() && dialogCode == 0)
            QVERIFY(window.save(portal.file));
        PermissionStore store;
        store.kept = kept;
        serve(u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s, portal);
        serve(u"org.freedesktop.impl.portal.PermissionStore"_s, u"/org/freedesktop/impl/portal/PermissionStore"_s,
              store);
        const bool isTaken = QFile::exists(portal.file);
        QProcess &helper = capture(way);
        QCOMPARE(portal.asked, asked);
        QCOMPARE(helper.exitCode(), exitCode);
        QCOMPARE(helper.readAllStandardError().isEmpty(), exitCode == 0);
        QCOMPARE(QImage(m_result).convertToFormat(QImage::Format_RGB32), isTaken && !isInTheWay ? window : QImage());
        QCOMPARE(QFile::remove(portal.file), isInTheWay); // else nobody would have it
        QVERIFY(m_services.unregisterService(u"org.freedesktop.impl.portal.PermissionStore"_s));
        QVERIFY(m_services.unregisterService(u"org.freedesktop.portal.Desktop"_s));
    }

    // Only who has the keyboard may fill the clipboard there; the helper stays until its picture has been fetched, and keeps
    // nobody from the next one.
    void clipboard_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("type");
        const QString wanted = u"--clipboard"_s, picture = u"image/png"_s;
        QTest::newRow("a picture") << QStringList{wanted} << picture;
        QTest::newRow("not saved") << QStringList{wanted, u"--unsaved"_s, m_unsaved} << picture;
        QTest::newRow("a colour") << QStringList{wanted} << u"text/plain"_s;
        QTest::newRow("not wanted") << QStringList() << picture;
    }
    void clipboard()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, type);
        const bool isSaved = !options.contains(m_unsaved), isColor = type != u"image/png"_s;
        QVERIFY(isSaved || QDir().mkdir(m_result));
        KWin kwin;
        kwin.pictures = {{u"HEADLESS-1"_s, m_shown[0]}, {u"HEADLESS-2"_s, m_shown[1]}};
        serve(u"org.kde.KWin"_s, u"/org/kde/KWin/ScreenShot2"_s, kwin);
        QProcess &helper =
            m_desktop.start(program, options + QStringList{u"-i"_s, m_result}, {u"QUILLMERE_DISPLAY=desktop"_s});
        QImage dimmed = m_shown[0].copy(0, 500, 200, 100);
        dim(reinterpret_cast<quint32 *>(dimmed.bits()), reinterpret_cast<quint32 *>(dimmed.bits()),
            size_t(dimmed.width() * dimmed.height()));
        QVERIFY(m_desktop.shows(dimmed, {0, 500}));
        QByteArray content;
        if (isColor) {
            m_desktop.movePointer({60, 60});
            m_desktop.tap(Key::c);
            QTRY_VERIFY(helper.bytesAvailable() > 0);
            content = m_shown[0].pixelColor(60, 60).name().toLatin1();
        } else {
            m_desktop.drag({60, 60}, {200, 150});
            QFile file(isSaved ? m_result : m_unsaved);
            QTRY_VERIFY(file.exists());
            QVERIFY(file.open(QIODevice::ReadOnly));
            content = file.readAll();
        }
        QVERIFY(Desktop::ended(m_desktop.start(program, {u"--desktop"_s, m_next}, {u"QUILLMERE_DISPLAY=desktop"_s})));
        QVERIFY(QFile::remove(m_next));
        if (options.isEmpty()) {
            QCOMPARE(m_desktop.run(u"wl-paste"_s, {u"--type"_s, type}), QByteArray());
        } else { // watching, since it may give up otherwise when the helper goes at once
            QProcess &reader = m_desktop.start(u"wl-paste"_s, {u"--type"_s, type, u"--watch"_s, u"cat"_s});
            QTRY_COMPARE(reader.bytesAvailable(), content.size());
            QCOMPARE(reader.readAllStandardOutput(), content);
            reader.kill();
        }
        QVERIFY(Desktop::ended(helper));
        QVERIFY(m_services.unregisterService(u"org.kde.KWin"_s));
        m_desktop.movePointer({20, 20});
    }

    // What is said of the road, without taking it.
    void road_data()
    {
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("served"); // by KWin
        QTest::addColumn<Permissions>("kept");
        QTest::addColumn<QString>("road");
        const QString anybody, desktop = u"desktop"_s;
        QTest::newRow("what sway offers") << anybody << program << Permissions() << u"compositor"_s;
        QTest::newRow("KWin") << desktop << program << Permissions() << u"kwin"_s;
        QTest::newRow("KWin that serves others") << desktop << u"/bin/sh"_s << Permissions() << u"portal"_s;
        QTest::newRow("denied") << desktop << QString() << Permissions{{QString(), {u"no"_s}}} << u"portal"_s;
    }
    void road()
    {
        QFETCH(QString, display);
        QFETCH(QString, served);
        QFETCH(Permissions, kept);
        QFETCH(QString, road);
        KWin kwin;
        Portal portal;
        PermissionStore store;
        store.kept = kept;
        m_desktop.home().write(u"applications/org.quillmere.Quillmere.capture.desktop"_s,
                               "[Desktop Entry]\nExec=" + served.toUtf8() + "\n");
        if (!served.isEmpty())
            serve(u"org.kde.KWin"_s, u"/org/kde/KWin/ScreenShot2"_s, kwin);
        serve(u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s, portal);
        serve(u"org.freedesktop.impl.portal.PermissionStore"_s, u"/org/freedesktop/impl/portal/PermissionStore"_s,
              store);
        QProcess &qms =
            m_desktop.start(QStringLiteral(QM_PROGRAMS "/qms"), {u"status"_s},
                            {u"QUILLMERE_DISPLAY="_s + display, u"XDG_DATA_HOME="_s + m_desktop.home().path()});
        QVERIFY(Desktop::ended(qms));
        const QString said = QString::fromUtf8(qms.readAllStandardOutput());
        QVERIFY2(said.contains(u"Screenshots by: "_s + road), qPrintable(said));
        QCOMPARE(said.contains(u"not allowed"_s), !kept.isEmpty());
        QCOMPARE(portal.asked, QList<bool>());
        for (const QString &name :
             {u"org.kde.KWin"_s, u"org.freedesktop.portal.Desktop"_s, u"org.freedesktop.impl.portal.PermissionStore"_s})
            m_services.unregisterService(name);
    }

    void askAgain()
    {
        const QStringList no = {u"no"_s};
        PermissionStore store;
        store.kept = {{QString(), no}, {u"org.quillmere.Quillmere"_s, no}, {u"org.example.Other"_s, no}};
        serve(u"org.freedesktop.impl.portal.PermissionStore"_s, u"/org/freedesktop/impl/portal/PermissionStore"_s,
              store);
        bool isDone = false;
        CaptureRoad::askAgain([&isDone] { isDone = true; });
        QTRY_VERIFY(isDone);
        QCOMPARE(store.kept, (Permissions{{u"org.example.Other"_s, no}}));
        QVERIFY(m_services.unregisterService(u"org.freedesktop.impl.portal.PermissionStore"_s));
    }

private:
    void serve(const QString &name, const QString &path, QObject &object)
    {
        QVERIFY(m_services.registerObject(path, &object, QDBusConnection::ExportAllSlots));
        QVERIFY(m_services.registerService(name));
    }

    QProcess &capture(const QString &way = u"--desktop"_s)
    {
        QProcess &helper = m_desktop.start(program, {way, m_result}, {u"QUILLMERE_DISPLAY=desktop"_s});
        Desktop::ended(helper);
        return helper;
    }

    SwayDesktop m_desktop{{{{800, 600}, {0, 0}}, {{1200, 800}, {800, 0}, 2}}};
    const QString m_result = m_desktop.home().file(u"a.png"_s);
    const QString m_unsaved = m_desktop.home().file(u"unsaved.png"_s), m_next = m_desktop.home().file(u"next.png"_s);
    QProcess m_bus;
    QDBusConnection m_services{QString()};
    QList<QImage> m_shown; // by each monitor
    QImage m_before;       // as the overlay places them
};

QTEST_MAIN(tst_DesktopFreeze)
#include "tst_DesktopFreeze.moc"
