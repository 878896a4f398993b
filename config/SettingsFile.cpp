#include "config/SettingsFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

namespace qm {

static constexpr qint64 maxBytes = 16 << 20; // far beyond any settings; keeps a wrong path from filling the memory

static QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // opening a pipe would wait for a writer forever
        return {};
    return file.read(maxBytes);
}

QJsonObject SettingsFile::read() const
{
    return QJsonDocument::fromJson(bytesOf(m_path)).object();
}

static Outcome writeWhole(QSaveFile &file, const QByteArray &bytes)
{
    // commit() does not notice that a buffer failed to reach the disk; flush() does.
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush() || !file.commit())
        return Outcome::failure(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
    return Outcome::success();
}

// A file that does not parse may still be the user's own work with one comma too many.
static Outcome keepBroken(const QString &path)
{
    const QByteArray bytes = bytesOf(path);
    if (bytes.trimmed().isEmpty() || QJsonDocument::fromJson(bytes).isObject())
        return Outcome::success();
    QSaveFile copy(path + QStringLiteral(".broken"));
    return writeWhole(copy, bytes);
}

Outcome SettingsFile::set(const QString &key, const QJsonValue &value) const
{
    if (const QString folder = QFileInfo(m_path).path(); !QDir().mkpath(folder))
        return Outcome::failure(QStringLiteral("cannot create %1").arg(folder));
    if (const Outcome kept = keepBroken(m_path); !kept)
        return kept;

    QJsonObject settings = read();
    if (value.isUndefined())
        settings.remove(key);
    else
        settings.insert(key, value);

    QSaveFile file(m_path);            // follows links and keeps the mode of the file it replaces
    file.setDirectWriteFallback(true); // for a writable file in a folder where nothing can be created
    const QByteArray json = QJsonDocument(settings).toJson(QJsonDocument::Indented); // keys are sorted
    return writeWhole(file, json);
}

} // namespace qm
