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
static const QString showPreviewKey = QStringLiteral("showPreview");
static const QString autoOcrKey = QStringLiteral("autoOcr");

static GeneralSettings from(const QJsonObject &settings)
{
    GeneralSettings result;
    result.captures = settings.value(capturesKey).toString();
    result.source = settings.value(sourceKey).toString();
    result.cloud = settings.value(cloudKey).toString();
    result.hotkey = ConfigStore::resolveHotkey(settings);
    result.showPreview = ConfigStore::showPreview(settings);
    result.autoOcr = ConfigStore::autoOcr(settings);
    return result;
}

GeneralSettings GeneralSettings::read()
{
    GeneralSettings result = from(ConfigStore::effective());
    result.launchAtLogin = LoginItem::isEnabled();
    return result;
}

GeneralSettings GeneralSettings::readWithCloud(const QString &cloud)
{
    const QJsonObject inForce = ConfigStore::effective();
    GeneralSettings result = from(ConfigStore::hasSettings(cloud) ? ConfigStore::effectiveWithCloud(cloud) : inForce);
    result.cloud = inForce.value(cloudKey).toString();
    return result;
}

static QJsonValue pathValue(const QString &path)
{
    return path.isEmpty() ? QJsonValue(QJsonValue::Undefined) : QJsonValue(path);
}

// The whole object, since one in the shared file hides that of the local file; with the keys of other versions.
static QJsonObject hotkeyObject(const QString &cloud)
{
    QJsonObject object = ConfigStore::effective().value(hotkeyKey).toObject();
    const QJsonObject there = ConfigStore::effectiveWithCloud(cloud).value(hotkeyKey).toObject();
    for (auto entry = there.begin(); entry != there.end(); ++entry)
        object.insert(entry.key(), entry.value());
    return object;
}

Outcome GeneralSettings::save(const GeneralSettings &before) const
{
    ConfigStore::Changes changes;
    const bool moves = cloud != before.cloud;
    if (moves)
        changes.cloud = cloud;
    const bool everything = moves && !ConfigStore::hasSettings(cloud);
    const auto touched = [&](auto field) { return everything || this->*field != before.*field; };

    if (touched(&GeneralSettings::captures))
        changes.shared.emplace(capturesKey, pathValue(captures));
    if (touched(&GeneralSettings::source))
        changes.shared.emplace(sourceKey, pathValue(source));
    if (touched(&GeneralSettings::hotkey)) {
        QJsonObject object = hotkeyObject(cloud);
        if (everything || hotkey.modifier != before.hotkey.modifier)
            object.insert(QStringLiteral("modifier"), rawValue(hotkey.modifier));
        if (everything || hotkey.holdThreshold != before.hotkey.holdThreshold)
            object.insert(QStringLiteral("holdThreshold"), hotkey.holdThreshold);
        changes.shared.emplace(hotkeyKey, object);
    }
    if (touched(&GeneralSettings::showPreview))
        changes.shared.emplace(showPreviewKey, showPreview);
    if (touched(&GeneralSettings::autoOcr))
        changes.shared.emplace(autoOcrKey, autoOcr);
    return ConfigStore::save(changes, [&] {
        return launchAtLogin == before.launchAtLogin ? Outcome::success() : LoginItem::setEnabled(launchAtLogin);
    });
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
    one(&GeneralSettings::showPreview);
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
