#include "config/UserDefaults.h"

#include <QSettings>
#include <QStandardPaths>

namespace qm {

#ifdef Q_OS_MACOS
// The standard user defaults: Qt makes the domain org.quillmere.Quillmere of the two, as the bundle is called.
static QSettings settings()
{
    return QSettings(QStringLiteral("quillmere.org"), QStringLiteral("Quillmere"));
}
#else
// A path of our own: QSettings would keep the configuration folder that it finds first in the process.
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

} // namespace qm
