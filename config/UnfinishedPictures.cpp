#include "config/UnfinishedPictures.h"

#include "platform/DiskSync.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>

namespace qm {

static const QString ending = QStringLiteral(".unfinished");
static constexpr qint64 headerBytes = 64; // a PNG file with no more holds no rows
static constexpr int secondsToBegin = 60;

// The name of the picture of which that is the file; empty if it is none of ours.
static QString pictureName(const QString &name)
{
    static const QRegularExpression pattern(QStringLiteral("^\\.(.+)\\.unfinished[2-9]?$"));
    return pattern.match(name).captured(1);
}

static bool isOurs(QFile &file)
{
    return file.size() == 0 || file.read(8) == QByteArrayView("\x89PNG\r\n\x1a\n");
}

// Until the descriptor is closed. False if another process has the file.
static bool lock(int descriptor)
{
    return flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

void UnfinishedPictures::begin(QFile &file, const QString &picture)
{
    constexpr int most = 9;
    const QFileInfo info(picture);
    for (int copy = 1; copy <= most && !file.isOpen(); ++copy) {
        const QString number = copy == 1 ? QString() : QString::number(copy);
        file.setFileName(info.path() + QStringLiteral("/.") + info.fileName() + ending + number);
        if (!file.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered) && !file.exists())
            return;
    }
    // Another process may look at it at this moment.
    while (file.isOpen() && flock(file.handle(), LOCK_EX) != 0 && errno == EINTR) {
    }
}

// Its owner may have renamed it since it was opened.
static bool isAt(const QFile &file, const QString &path)
{
    struct stat opened = {}, there = {};
    return fstat(file.handle(), &opened) == 0 && lstat(QFile::encodeName(path).constData(), &there) == 0 &&
           opened.st_ino == there.st_ino && opened.st_dev == there.st_dev;
}

// The path of the picture, empty if there is none.
static QString completed(const QFileInfo &left)
{
    constexpr int mostOfAName = 99;
    const QFileInfo name(pictureName(left.fileName()));
    QFile file(left.filePath());
    // Network file systems lock for writing only what can be written to.
    if (name.fileName().isEmpty() || !file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) ||
        !lock(file.handle()) || !isAt(file, left.filePath()) || !isOurs(file))
        return {};
    if (file.size() <= headerBytes) { // or it has only just been made
        if (left.lastModified().secsTo(QDateTime::currentDateTime()) > secondsToBegin)
            QFile::remove(left.filePath());
        return {};
    }
    DiskSync::content(file.handle());
    const QString suffix = name.suffix().isEmpty() ? QString() : u'.' + name.suffix();
    for (int copy = 1; copy <= mostOfAName; ++copy) {
        const QString number = copy == 1 ? QString() : QStringLiteral(" %1").arg(copy);
        const QString path = left.path() + u'/' + name.completeBaseName() + number + suffix;
        if (QFile::rename(left.filePath(), path)) { // never over another file
            DiskSync::names(path);
            return path;
        }
    }
    return {};
}

QStringList UnfinishedPictures::complete(const QString &folder)
{
    QStringList pictures;
    const auto filter = QDir::Files | QDir::Hidden | QDir::NoSymLinks;
    for (const QFileInfo &left : QDir(folder).entryInfoList({QStringLiteral(".?*") + ending + u'*'}, filter)) {
        if (const QString path = completed(left); !path.isEmpty())
            pictures << path;
    }
    return pictures;
}

} // namespace qm
