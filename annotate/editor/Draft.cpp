#include "annotate/editor/Draft.h"

#include "imaging/ImageFile.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
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

static QFileInfoList files()
{
    return QDir(folder()).entryInfoList({QStringLiteral("*.json")}, QDir::Files, QDir::Time);
}

// One that an earlier editor of the picture left, or a new one.
static QString freeFile(const QString &sourcePath)
{
    constexpr int most = 99;
    const QByteArray key = QCryptographicHash::hash(QDir::cleanPath(sourcePath).toUtf8(), QCryptographicHash::Sha256);
    const QString base = folder() + u'/' + QString::fromLatin1(key.toHex().first(32));
    QString unused;
    for (int copy = 1; copy <= most; ++copy) {
        const QString path = base + (copy == 1 ? QString() : QStringLiteral("-%1").arg(copy)) + QStringLiteral(".json");
        if (taken().contains(path))
            continue;
        if (QFile::exists(path))
            return path;
        if (unused.isEmpty())
            unused = path;
    }
    return unused;
}

Draft::Stamp Draft::stampOf(const QString &sourcePath)
{
    const QFileInfo file(sourcePath);
    return {file.size(), file.lastModified().toMSecsSinceEpoch()};
}

Draft::Draft(const QString &sourcePath)
    : m_sourcePath(sourcePath)
    , m_path(freeFile(sourcePath))
    , m_stamp(stampOf(sourcePath))
{
    taken() << m_path;
}

Draft::~Draft()
{
    taken().remove(m_path);
}

static bool isPicture(const QString &path)
{
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && ImageFile::probe(file);
}

// A line with the edits, a line about the picture.
std::optional<Draft::Left> Draft::read(const QString &path, const QString &sourcePath)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const std::optional<ItemCodec::Edits> edits = ItemCodec::decode(file.readLine());
    if (!edits)
        return {};
    Left left{sourcePath, QFileInfo(file).lastModified(), *edits, {}};
    const QJsonObject source = QJsonDocument::fromJson(file.readLine()).object();
    if (!source.isEmpty())
        left.read = Stamp{source[QStringLiteral("size")].toInteger(), source[QStringLiteral("modified")].toInteger()};
    return left;
}

Draft::Left Draft::lookedAt(Left left)
{
    if (!isPicture(left.sourcePath))
        left.picture = Left::Picture::gone;
    else if (left.read && *left.read != stampOf(left.sourcePath))
        left.picture = Left::Picture::changed;
    return left;
}

std::optional<Draft::Left> Draft::load() const
{
    const std::optional<Left> left = read(m_path, m_sourcePath);
    return left ? std::optional(lookedAt(*left)) : std::nullopt;
}

bool Draft::store(const ItemCodec::Edits &edits)
{
    const QJsonObject source{{QStringLiteral("path"), m_sourcePath},
                             {QStringLiteral("size"), m_stamp.size},
                             {QStringLiteral("modified"), m_stamp.modified}};
    const QByteArray bytes =
        ItemCodec::encode(edits) + '\n' + QJsonDocument(source).toJson(QJsonDocument::Compact) + '\n';
    if (bytes == m_stored && QFile::exists(m_path)) // only the view has changed
        return true;
    QDir().mkpath(folder());
    QFile::setPermissions(folder(), ownerOnly | QFile::ExeOwner);
    QSaveFile file(m_path);
    const bool stored = file.open(QIODevice::WriteOnly) && file.setPermissions(ownerOnly) &&
                        file.write(bytes) == bytes.size() && file.flush() && file.commit();
    if (stored)
        m_stored = bytes;
    return stored;
}

void Draft::remove()
{
    QFile::remove(m_path);
}

QList<Draft::Left> Draft::left()
{
    QList<Left> all;
    QSet<QString> seen;
    for (const QFileInfo &info : files()) {
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly))
            continue;
        file.readLine();
        const QString source = QJsonDocument::fromJson(file.readLine())[QStringLiteral("path")].toString();
        if (source.isEmpty() || seen.contains(source))
            continue;
        seen << source;
        if (const std::optional<Left> left = read(freeFile(source), source))
            all << *left;
    }
    return all;
}

void Draft::discard(const QString &sourcePath)
{
    QFile::remove(freeFile(sourcePath));
}

void Draft::removeOld()
{
    const QDateTime oldest = QDateTime::currentDateTime().addDays(-daysKept);
    for (const QFileInfo &file : files()) {
        if (file.lastModified() < oldest)
            QFile::remove(file.filePath());
    }
}

} // namespace qm
