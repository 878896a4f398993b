#include "config/UserDefaults.h"

#include <QSettings>
#include <QStandardPaths>

namespace qm {

#ifdef Q_OS_MACOS
// The standard user defaults: Qt forms the domain org.quillmere.Quillmere, the bundle's identifier, from the two names.
static QSettings settings()
{
    return QSettings(QStringLiteral("quillmere.org"), QStringLiteral("Quillmere"));
}
#else
// An explicit path, because QSettings would cache the first configuration folder it finds in the process.
static QSettings settings()
{
    return QSettings(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                         QStringLiteral("/quillmere/quillmere.ini"),
                     QSettings::IniFormat);
}
#endif

bool UserDefaults::boolean(const QString &key)
{
    return settings().value(key).toBool();
}

void UserDefaults::setBoolean(const QString &key, bool value)
{
    settings().setValue(key, value);
}

QRect UserDefaults::rectangle(const QString &key)
{
    return settings().value(key).toRect();
}

void UserDefaults::setRectangle(const QString &key, const QRect &value)
{
    settings().setValue(key, value);
}

} // namespace qm
