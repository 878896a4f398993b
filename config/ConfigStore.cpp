#include "config/ConfigStore.h"

#include "config/FolderPresence.h"
#include "config/SettingsFile.h"
#include "platform/ScreenshotLocation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <unistd.h>
#include <vector>

namespace qm {

static constexpr QStringView captures = u"captures";
static constexpr QStringView source = u"source";
static constexpr QStringView cloud = u"cloud";
static constexpr QStringView hotkey = u"hotkey";

std::optional<QString> folderFromText(const QString &text)
{
    if (text.isEmpty())
        return std::nullopt;
    QString path = text;
    if (path == u'~' || path.startsWith(u"~/"))
        path.replace(0, 1, QDir::homePath());
    else if (!path.startsWith(u'/'))
        path.prepend(QDir::homePath() + u'/');
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

std::optional<QString> folderFromAnswer(const QByteArray &answer)
{
    if (!QUtf8StringView(answer).isValidUtf8())
        return std::nullopt;
    return folderFromText(QString::fromUtf8(answer).trimmed());
}

static std::optional<QString> folderIn(const QJsonObject &settings, QStringView key)
{
    return folderFromText(settings.value(key).toString());
}

static std::optional<SettingsFile> cloudFile(const QJsonObject &local)
{
    const std::optional<QString> folder = folderIn(local, cloud);
    return folder ? std::optional<SettingsFile>(*folder + QStringLiteral("/config.json")) : std::nullopt;
}

static SettingsFile local()
{
    return SettingsFile(ConfigStore::localFile());
}

// The file that the next change of a shared key is written to.
static SettingsFile governing()
{
    return cloudFile(local().read()).value_or(local());
}

QString ConfigStore::homeFolder()
{
    return QDir::homePath() + QStringLiteral("/.quillmere");
}

QString ConfigStore::runtimeFolder()
{
    // A cron job or a shell of another user's has no such variable, and is to find the instance of the desktop.
    const QString usual = QStringLiteral("/run/user/%1").arg(geteuid());
    const QFileInfo folder(qEnvironmentVariable("XDG_RUNTIME_DIR", usual));
    return folder.isDir() && folder.ownerId() == geteuid() ? folder.filePath() : homeFolder();
}

QString ConfigStore::localFile()
{
    return homeFolder() + QStringLiteral("/config.json");
}

QString ConfigStore::sharedFolder()
{
    return folderIn(local().read(), cloud).value_or(QString());
}

QString ConfigStore::sharedFile()
{
    const std::optional<SettingsFile> file = cloudFile(local().read());
    return file ? file->path() : QString();
}

static QJsonObject merged(const QJsonObject &own)
{
    const std::optional<SettingsFile> file = cloudFile(own);
    if (!file)
        return own;
    QJsonObject result = own;
    const QJsonObject shared = file->read();
    for (auto entry = shared.begin(); entry != shared.end(); ++entry) {
        if (entry.key() != cloud)
            result.insert(entry.key(), entry.value());
    }
    return result;
}

QJsonObject ConfigStore::effective()
{
    return merged(local().read());
}

QJsonObject ConfigStore::effectiveWithCloud(const QString &path)
{
    QJsonObject own = local().read();
    own.insert(cloud, path);
    return merged(own);
}

bool ConfigStore::hasSettings(const QString &path)
{
    const std::optional<SettingsFile> file = cloudFile(QJsonObject{{cloud.toString(), path}});
    return file && QFileInfo::exists(file->path());
}

Hotkey ConfigStore::resolveHotkey()
{
    return resolveHotkey(effective());
}

Hotkey ConfigStore::resolveHotkey(const QJsonObject &settings)
{
    const QJsonObject object = settings.value(hotkey).toObject();
    Hotkey result;
    result.modifier = hotkeyModifierFrom(object.value(u"modifier").toString()).value_or(result.modifier);
    result.holdThreshold = std::clamp(object.value(u"holdThreshold").toDouble(Hotkey::defaultHoldThreshold),
                                      Hotkey::minHoldThreshold, Hotkey::maxHoldThreshold);
    return result;
}

QString ConfigStore::resolveCaptureDir()
{
    const QString folder = resolveCaptureDir(effective());
    const QString shared = sharedFolder();
    if (!shared.isEmpty() && folder.startsWith(shared + u'/') && FolderPresence::isSharedFolderAway())
        return homeFolder() + QStringLiteral("/captures"); // nothing is created where a drive is to be mounted
    return folder;
}

QString ConfigStore::resolveCaptureDir(const QJsonObject &settings)
{
    if (const std::optional<QString> folder = folderIn(settings, captures))
        return *folder;
    return folderIn(settings, cloud).value_or(homeFolder()) + QStringLiteral("/captures");
}

QString ConfigStore::resolveSource()
{
    const std::optional<QString> folder = folderIn(effective(), source);
    return folder ? *folder : systemSource();
}

QString ConfigStore::systemSource()
{
    if (const std::optional<QString> folder = folderFromAnswer(systemScreenshotLocation().value_or(QByteArray())))
        return *folder;
    return QDir::homePath() + QStringLiteral("/Desktop");
}

bool ConfigStore::autoOcr()
{
    return autoOcr(effective());
}

bool ConfigStore::autoOcr(const QJsonObject &settings)
{
    return settings.value(u"autoOcr").toBool(true);
}

bool ConfigStore::showPreview()
{
    return showPreview(effective());
}

bool ConfigStore::showPreview(const QJsonObject &settings)
{
    return settings.value(u"showPreview").toBool(true);
}

bool ConfigStore::createFolder(const QString &path)
{
    const QString home = homeFolder();
    if (path == home || path.startsWith(home + u'/')) {
        // The index holds the text of everything its owner ever captured.
        constexpr QFile::Permissions owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
        QDir().mkdir(home, owner);
    }
    return QDir().mkpath(path);
}

Outcome ConfigStore::setShared(const QString &key, const std::optional<QJsonValue> &value)
{
    createFolder(homeFolder());
    return governing().set({{key, value.value_or(QJsonValue(QJsonValue::Undefined))}});
}

static QJsonValue cloudValue(const std::optional<QString> &path)
{
    return path && !path->isEmpty() ? QJsonValue(*path) : QJsonValue(QJsonValue::Undefined);
}

Outcome ConfigStore::setCloud(const std::optional<QString> &path)
{
    createFolder(homeFolder());
    return local().set({{cloud.toString(), cloudValue(path)}});
}

Outcome ConfigStore::save(const Changes &changes, const std::function<Outcome()> &last)
{
    createFolder(homeFolder());
    QJsonObject own = local().read();
    SettingsFile::Values localValues;
    if (changes.cloud) {
        localValues.emplace(cloud.toString(), cloudValue(changes.cloud));
        own.insert(cloud, *changes.cloud);
    }
    // The shared file first: its folder comes into force with all its settings.
    std::vector<std::pair<SettingsFile, SettingsFile::Values>> writes;
    if (const std::optional<SettingsFile> shared = cloudFile(own))
        writes.emplace_back(*shared, changes.shared);
    else
        localValues.insert(changes.shared.begin(), changes.shared.end());
    writes.emplace_back(local(), localValues);

    std::vector<SettingsBackup> backups;
    Outcome outcome = Outcome::success();
    for (const auto &[file, values] : writes) {
        if (values.empty() || !outcome)
            continue;
        backups.emplace_back(file);
        outcome = file.set(values);
    }
    if (outcome)
        outcome = last();
    if (outcome)
        return outcome;
    QString reason = outcome.reason();
    for (auto backup = backups.rbegin(); backup != backups.rend(); ++backup) { // two paths may lead to one file
        if (const Outcome restored = backup->restore(); !restored)
            reason += u'\n' + restored.reason();
    }
    return Outcome::failure(reason);
}

static bool usable(const QString &key, const QJsonValue &value)
{
    if (key == hotkey)
        return value.isObject();
    if (key == u"autoOcr" || key == u"showPreview")
        return value.isBool();
    return !value.toString().isEmpty();
}

ConfigStore::Origin ConfigStore::originOf(const QString &key)
{
    const QJsonObject own = local().read();
    const std::optional<SettingsFile> file = cloudFile(own);
    // A shared value of the wrong type still hides the local one: merging ignores types.
    if (file && key != cloud) {
        const QJsonObject shared = file->read();
        if (shared.contains(key))
            return usable(key, shared.value(key)) ? Origin::shared : Origin::standard;
        if (key == captures && !usable(key, own.value(key)))
            return FolderPresence::isSharedFolderAway() ? Origin::standard : Origin::shared;
    }
    if (usable(key, own.value(key)))
        return Origin::local;
    const bool system = key == source && folderFromAnswer(systemScreenshotLocation().value_or(QByteArray()));
    return system ? Origin::system : Origin::standard;
}

} // namespace qm
