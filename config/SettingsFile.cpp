#include "config/SettingsFile.h"

#include "platform/DiskSync.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

#include <sys/stat.h>

namespace qm {

static constexpr qint64 maxBytes = 16 << 20; // far beyond any settings; keeps a wrong path from filling the memory

// std::nullopt if there is no file or it cannot be read.
static std::optional<QByteArray> bytesOf(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // opening a pipe would wait for a writer forever
        return std::nullopt;
    return file.read(maxBytes);
}

QJsonObject SettingsFile::read() const
{
    return QJsonDocument::fromJson(bytesOf(m_path).value_or(QByteArray())).object();
}

static QString brokenCopyOf(const QString &path)
{
    return path + QStringLiteral(".broken");
}

// A new file is for its owner, and for those who may replace it, as in a folder that a group shares. Where modes come from the
// mount (vfat, CIFS) they cannot be changed; that is no reason not to save.
static void keepForOwner(QSaveFile &file)
{
    const QFileInfo path(file.fileName());
    if (path.exists())
        return;
    struct stat folder = {};
    stat(QFile::encodeName(path.path()).constData(), &folder);
    const mode_t writers = folder.st_mode & S_ISVTX ? 0 : folder.st_mode & (S_IWGRP | S_IWOTH);
    fchmod(file.handle(), S_IRUSR | S_IWUSR | writers << 1 | writers); // whoever may write may read
}

static Outcome writeWhole(QSaveFile &file, const QByteArray &bytes)
{
    if (file.open(QIODevice::WriteOnly))
        keepForOwner(file);
    const bool written = file.isOpen() && file.write(bytes) == bytes.size();
    const Outcome saved = written ? DiskSync::commit(file) : Outcome::failure(file.errorString());
    return saved ? saved : Outcome::failure(QStringLiteral("%1: %2").arg(file.fileName(), saved.reason()));
}

// Follows links and keeps the mode of the file that it replaces.
static Outcome replace(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    file.setDirectWriteFallback(true); // for a writable file in a folder where nothing can be created
    return writeWhole(file, bytes);
}

// A file that does not parse may still be the user's own work with one comma too many.
static Outcome keepBroken(const QString &path)
{
    const std::optional<QByteArray> bytes = bytesOf(path);
    if (!bytes && QFileInfo(path).isFile())
        return Outcome::failure(QStringLiteral("cannot read %1").arg(path));
    if (!bytes || bytes->trimmed().isEmpty() || QJsonDocument::fromJson(*bytes).isObject())
        return Outcome::success();
    QSaveFile copy(brokenCopyOf(path));
    return writeWhole(copy, *bytes);
}

Outcome SettingsFile::set(const Values &values) const
{
    if (const Outcome kept = keepBroken(m_path); !kept)
        return kept;

    QJsonObject settings = read();
    for (const auto &[key, value] : values) {
        if (value.isUndefined())
            settings.remove(key);
        else
            settings.insert(key, value);
    }
    return replace(m_path, QJsonDocument(settings).toJson(QJsonDocument::Indented)); // keys are sorted
}

SettingsBackup::SettingsBackup(const SettingsFile &file)
    : m_copies{{{file.path(), bytesOf(file.path())}, {brokenCopyOf(file.path()), bytesOf(brokenCopyOf(file.path()))}}}
{
}

Outcome SettingsBackup::restore() const
{
    Outcome result = Outcome::success();
    for (const auto &[path, before] : m_copies) {
        const std::optional<QByteArray> now = bytesOf(path);
        if (now == before)
            continue;
        Outcome outcome = Outcome::success();
        if (before)
            outcome = replace(path, *before);
        else if (!QFile::remove(QFileInfo(path).canonicalFilePath())) // a link that led nowhere stays
            outcome = Outcome::failure(QStringLiteral("cannot remove %1").arg(path));
        if (!outcome)
            result = outcome;
    }
    return result;
}

} // namespace qm
