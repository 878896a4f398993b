#include "helpers/qmscroll/wayland/CastTokens.h"

#include "config/ConfigStore.h"
#include "config/SettingsFile.h"

#include <QFile>

namespace qm {

static SettingsFile file()
{
    return SettingsFile(ConfigStore::homeFolder() + QStringLiteral("/screencasts.json"));
}

std::string CastTokens::token(const std::string &monitor)
{
    return file().read().value(QString::fromStdString(monitor)).toString().toStdString();
}

void CastTokens::keep(const std::string &monitor, const std::string &next)
{
    if (next == token(monitor) || !ConfigStore::createFolder(ConfigStore::homeFolder()))
        return;
    QFile mine(file().path()); // rights outlive the contents
    if (mine.open(QIODevice::Append))
        mine.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    mine.close();
    (void)file().set({{QString::fromStdString(monitor),
                       next.empty() ? QJsonValue(QJsonValue::Undefined) : QJsonValue(QString::fromStdString(next))}});
}

} // namespace qm
