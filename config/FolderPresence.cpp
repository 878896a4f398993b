#include "config/FolderPresence.h"

#include "config/ConfigStore.h"
#include "config/SettingsFile.h"

#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace qm {

static constexpr int remembered = 30;  // days
static constexpr int noteEvery = 3600; // seconds: not at each scan

// Paths of folders, each with the time when it was last seen.
static SettingsFile record()
{
    return SettingsFile(ConfigStore::homeFolder() + QStringLiteral("/folders.json"));
}

static QDateTime lastSeen(const QString &folder)
{
    return QDateTime::fromString(record().read().value(folder).toString(), Qt::ISODate);
}

static bool canBeListed(const QString &folder)
{
    return QFileInfo(folder).isDir() && access(QFile::encodeName(folder).constData(), R_OK | X_OK) == 0;
}

static bool isInUse(const QString &shared)
{
    return QFileInfo::exists(shared + QStringLiteral("/config.json")) ||
           QFileInfo(shared + QStringLiteral("/captures")).isDir();
}

static bool isAway(const QString &shared)
{
    return !canBeListed(shared) || (!isInUse(shared) && lastSeen(shared).isValid());
}

bool FolderPresence::isSharedFolderAway()
{
    const QString shared = ConfigStore::sharedFolder();
    return !shared.isEmpty() && isAway(shared);
}

QStringList FolderPresence::awayFolders()
{
    QStringList away;
    if (const QString source = ConfigStore::resolveSource(); !canBeListed(source))
        away << source;
    if (isSharedFolderAway())
        away << ConfigStore::sharedFolder();
    return away;
}

QStringList FolderPresence::rememberedAwayFolders(const QDateTime &now)
{
    const auto note = [&](const QString &folder) {
        if (const QDateTime before = lastSeen(folder); before.isValid() && std::abs(before.secsTo(now)) < noteEvery)
            return;
        ConfigStore::createFolder(ConfigStore::homeFolder());
        (void)record().set({{folder, now.toUTC().toString(Qt::ISODate)}});
    };
    QStringList away = awayFolders();
    const QString shared = ConfigStore::sharedFolder(), source = ConfigStore::resolveSource();
    if (!away.contains(source))
        note(source);
    if (!shared.isEmpty() && !away.contains(shared) && isInUse(shared))
        note(shared);
    const auto isForgotten = [&](const QString &folder) {
        const QDateTime seen = lastSeen(folder);
        if (!seen.isValid())
            note(folder); // the thirty days begin
        return seen.isValid() && seen.daysTo(now) > remembered;
    };
    away.removeIf(isForgotten);
    return away;
}

} // namespace qm
