#include "annotate/editor/Draft.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QSet>
#include <QStandardPaths>

namespace qm {

static constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

#ifdef Q_OS_MACOS
static QString folder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Quillmere/drafts");
}
#else
// XDG Base Directory Specification 0.8: a relative path is to be ignored.
static QString folder()
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (QDir::isAbsolutePath(state) ? state : QDir::homePath() + QStringLiteral("/.local/state")) +
           QStringLiteral("/quillmere/drafts");
}
#endif

static QSet<QString> &taken()
{
    static QSet<QString> paths;
    return paths;
}

Draft::Draft(const QString &sourcePath)
{
    const QByteArray key = QCryptographicHash::hash(QDir::cleanPath(sourcePath).toUtf8(), QCryptographicHash::Sha256);
    const QString base = folder() + u'/' + QString::fromLatin1(key.toHex().first(32));
    for (int copy = 1; m_path.isEmpty() || taken().contains(m_path); ++copy)
        m_path = base + (copy == 1 ? QString() : QStringLiteral("-%1").arg(copy)) + QStringLiteral(".json");
    taken() << m_path;
}

Draft::~Draft()
{
    taken().remove(m_path);
}

std::optional<ItemCodec::Edits> Draft::load() const
{
    QFile file(m_path);
    return file.open(QIODevice::ReadOnly) ? ItemCodec::decode(file.readAll()) : std::nullopt;
}

bool Draft::store(const ItemCodec::Edits &edits)
{
    QDir().mkpath(folder());
    QFile::setPermissions(folder(), ownerOnly | QFile::ExeOwner);
    QSaveFile file(m_path);
    const QByteArray bytes = ItemCodec::encode(edits);
    return file.open(QIODevice::WriteOnly) && file.setPermissions(ownerOnly) && file.write(bytes) == bytes.size() &&
           file.flush() && file.commit();
}

void Draft::remove()
{
    QFile::remove(m_path);
}

void Draft::removeOld()
{
    const QDateTime oldest = QDateTime::currentDateTime().addDays(-daysKept);
    const QFileInfoList files = QDir(folder()).entryInfoList({QStringLiteral("*.json")}, QDir::Files);
    for (const QFileInfo &file : files) {
        if (file.lastModified() < oldest)
            QFile::remove(file.filePath());
    }
}

} // namespace qm
