#include "settings/GeneralSettings.h"

#include "config/ConfigStore.h"
#include "config/SettingsFile.h"
#include "platform/LoginItem.h"

#include <optional>
#include <utility>

namespace qm {

static const QString capturesKey = QStringLiteral("captures");
static const QString sourceKey = QStringLiteral("source");
static const QString cloudKey = QStringLiteral("cloud");
static const QString hotkeyKey = QStringLiteral("hotkey");
static const QString autoOcrKey = QStringLiteral("autoOcr");

static GeneralSettings from(const QJsonObject &settings)
{
    GeneralSettings result;
    result.captures = settings.value(capturesKey).toString();
    result.source = settings.value(sourceKey).toString();
    result.cloud = settings.value(cloudKey).toString();
    result.hotkey = ConfigStore::resolveHotkey(settings);
    result.autoOcr = ConfigStore::autoOcr(settings);
    result.launchAtLogin = LoginItem::isEnabled();
    return result;
}

GeneralSettings GeneralSettings::read()
{
    return from(ConfigStore::effective());
}

GeneralSettings GeneralSettings::readWithCloud(const QString &cloud)
{
    return from(ConfigStore::effectiveWithCloud(cloud));
}

static std::optional<QJsonValue> pathValue(const QString &path)
{
    return path.isEmpty() ? std::nullopt : std::optional<QJsonValue>(path);
}

Outcome GeneralSettings::save() const
{
    if (Outcome outcome = ConfigStore::setCloud(cloud); !outcome)
        return outcome;
    const QJsonObject hotkeyObject{{QStringLiteral("modifier"), rawValue(hotkey.modifier)},
                                   {QStringLiteral("holdThreshold"), hotkey.holdThreshold}};
    const std::pair<QString, std::optional<QJsonValue>> shared[] = {
        {capturesKey, pathValue(captures)},
        {sourceKey, pathValue(source)},
        {hotkeyKey, hotkeyObject},
        {autoOcrKey, QJsonValue(autoOcr)},
    };
    for (const auto &[key, value] : shared) {
        if (Outcome outcome = ConfigStore::setShared(key, value); !outcome)
            return outcome;
    }
    return LoginItem::setEnabled(launchAtLogin);
}

void GeneralSettings::follow(const GeneralSettings &before, const GeneralSettings &now)
{
    const auto one = [&](auto field) {
        if (this->*field == before.*field)
            this->*field = now.*field;
    };
    one(&GeneralSettings::captures);
    one(&GeneralSettings::source);
    one(&GeneralSettings::cloud);
    one(&GeneralSettings::autoOcr);
    one(&GeneralSettings::launchAtLogin);
    if (hotkey.modifier == before.hotkey.modifier)
        hotkey.modifier = now.hotkey.modifier;
    if (hotkey.holdThreshold == before.hotkey.holdThreshold)
        hotkey.holdThreshold = now.hotkey.holdThreshold;
}

// The settings in force once the shared file lacks the key: those of the local file.
static QJsonObject behindSharedFile(const QString &cloud)
{
    QJsonObject rest;
    if (!cloud.isEmpty())
        rest = SettingsFile(ConfigStore::localFile()).read();
    rest.insert(cloudKey, cloud);
    return rest;
}

QString GeneralSettings::captureDirWhenEmpty() const
{
    return ConfigStore::resolveCaptureDir(behindSharedFile(cloud));
}

QString GeneralSettings::sourceWhenEmpty() const
{
    const std::optional<QString> folder = folderFromText(behindSharedFile(cloud).value(sourceKey).toString());
    return folder ? *folder : ConfigStore::systemSource();
}

} // namespace qm
