#include "platform/CaptureRoad.h"

#include "platform/ToolPaths.h"
#include "platform/linux/SessionBus.h"
#include "platform/wayland/WaylandServer.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <protocol/screencopy.h>
#include <xcb/xcb.h>

namespace qm {

using namespace Qt::StringLiterals;

static constexpr int answerLimit = 500; // ms; the bus itself, or a service that is running, answers at once

namespace {

const QString applicationId = u"org.quillmere.Quillmere"_s;
const QString store = u"org.freedesktop.impl.portal.PermissionStore"_s;
const QString storeObject = u"/org/freedesktop/impl/portal/PermissionStore"_s;
// What the portal calls screenshots there, and us: programs outside of sandboxes have no name, or that of their desktop file.
const QString permission = u"screenshot"_s;
const QStringList ourNames = {QString(), applicationId};

// The answer's first argument; invalid if there is none.
QVariant asked(const QString &service, const QString &object, const QString &interface, const QString &method,
               const QVariantList &arguments = {})
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, object, interface, method);
    call.setAutoStartService(false);
    call.setArguments(arguments);
    return QDBusConnection::sessionBus().call(call, QDBus::Block, answerLimit).arguments().value(0);
}

QVariant askedOfBus(const QString &method, const QVariantList &arguments = {})
{
    const QString bus = u"org.freedesktop.DBus"_s;
    return asked(bus, u"/org/freedesktop/DBus"_s, bus, method, arguments);
}

// KWin serves a program that a desktop file names, by its whole path.
bool doesKWinServeUs()
{
    if (!askedOfBus(u"NameHasOwner"_s, {u"org.kde.KWin"_s}).toBool())
        return false;
    const QString tool = QFileInfo(toolPaths().capture.value_or(QString())).canonicalFilePath();
    const QString entry =
        QStandardPaths::locate(QStandardPaths::ApplicationsLocation, applicationId + u".capture.desktop"_s);
    return !tool.isEmpty() && !entry.isEmpty() &&
           QFileInfo(QSettings(entry, QSettings::IniFormat).value(u"Desktop Entry/Exec"_s).toString())
                   .canonicalFilePath() == tool;
}

bool hasUserSaidNo()
{
    const QVariant answer = asked(store, storeObject, store, u"Lookup"_s, {permission, permission});
    if (!answer.isValid())
        return false;
    const auto kept = qdbus_cast<QMap<QString, QStringList>>(answer);
    return std::any_of(ourNames.cbegin(), ourNames.cend(),
                       [&kept](const QString &name) { return kept.value(name).contains(u"no"_s); });
}

bool isThereXServer()
{
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool isThere = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return isThere;
}

} // namespace

CaptureRoad CaptureRoad::current()
{
    const QByteArray wanted = qgetenv("QUILLMERE_DISPLAY"); // as for qmcapture
    const auto server =
        wanted == "x11" || qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ? nullptr : WaylandServer::connect();
    if (!server)
        return {isThereXServer() ? Kind::x11 : Kind::none};
    if (wanted != "desktop" && !server->globals(zwlr_screencopy_manager_v1_interface).empty())
        return {Kind::compositor};
    if (doesKWinServeUs())
        return {Kind::kwin};
    const QString portal = u"org.freedesktop.portal.Desktop"_s;
    if (askedOfBus(u"NameHasOwner"_s, {portal}).toBool() ||
        askedOfBus(u"ListActivatableNames"_s).toStringList().contains(portal))
        return {Kind::portal, hasUserSaidNo()};
    return {};
}

void CaptureRoad::askAgain(const std::function<void()> &done)
{
    const auto left = std::make_shared<qsizetype>(ourNames.size());
    for (const QString &name : ourNames) {
        SessionBus::ask(store, storeObject, u"DeletePermission"_s, {permission, permission, name},
                        [left, done](const QDBusMessage &) {
                            if (--*left == 0)
                                done();
                        });
    }
}

} // namespace qm
