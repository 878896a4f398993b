#include "app/base/UserDefaults.h"

#include <QSettings>
#include <QStandardPaths>

namespace qm {

// A path of our own: QSettings would keep the configuration folder that it finds first in the process.
static QString file()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/quillmere/quillmere.ini");
}

bool UserDefaults::boolean(const QString &key)
{
    return QSettings(file(), QSettings::IniFormat).value(key).toBool();
}

void UserDefaults::setBoolean(const QString &key, bool value)
{
    QSettings(file(), QSettings::IniFormat).setValue(key, value);
}

} // namespace qm
