#include "app/AppDelegate.h"

#include "app/base/AppLocale.h"
#include "app/base/Symbol.h"
#include "config/ConfigStore.h"
#include "index/OcrIndexer.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QMenu>
#include <QSystemTrayIcon>

namespace qm {

AppDelegate::AppDelegate() = default;
AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    createStatusItem();
    ConfigStore::createFolder(ConfigStore::resolveCaptureDir());
    OcrIndexer::shared().start();
}

// Qt asks for a StatusNotifier host once, at the first tray call of the process, and never again: without one there must
// be no call at all.
static bool trayHostIsThere()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return (bus.isConnected()
            && bus.interface()->isServiceRegistered(QStringLiteral("org.kde.StatusNotifierWatcher")).value())
        || (QGuiApplication::platformName() == u"xcb" && QSystemTrayIcon::isSystemTrayAvailable());
}

void AppDelegate::createStatusItem()
{
    if (!trayHostIsThere())
        return;
    m_menu = std::make_unique<QMenu>();
    m_menu->addAction(AppLocale::text(u"Quit Quillmere", u"Quillmere を終了"), qApp, &QApplication::quit);
    const QColor color = QApplication::palette().color(QPalette::WindowText);
    m_statusItem = std::make_unique<QSystemTrayIcon>(Symbol::icon(QStringLiteral("camera.viewfinder"), color));
    m_statusItem->setToolTip(QStringLiteral("Quillmere"));
    m_statusItem->setContextMenu(m_menu.get());
    m_statusItem->show();
}

} // namespace qm
