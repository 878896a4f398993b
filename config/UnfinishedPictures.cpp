#include "config/UnfinishedPictures.h"

#include "platform/DiskSync.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtEndian>

#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>

namespace qm {

static const QString ending = QStringLiteral(".unfinished");
static const QString form = QStringLiteral(".form");
static constexpr int secondsToBegin = 60;
static constexpr int mostFiles = 9; // of a name

// The name of the picture of which that is the file; empty if it is none of ours.
static QString pictureName(const QString &name)
{
    static const QRegularExpression pattern(QStringLiteral("^\\.(.+)\\.unfinished[2-9]?(?:\\.form[2-9])?$"));
    return pattern.match(name).captured(1);
}

// The file of a picture's first form, of which that is a file.
static QString firstForm(const QString &file)
{
    const qsizetype suffix = file.lastIndexOf(u'.');
    return file.indexOf(form, suffix) == suffix ? file.left(suffix) : file;
}

static bool isOurs(QFile &file)
{
    return file.size() == 0 || file.peek(8) == QByteArrayView("\x89PNG\r\n\x1a\n");
}

// As the header says, into which it is written after the rows.
static quint32 rowsOf(QFile &file)
{
    constexpr int place = 20; // of the height in a PNG file
    constexpr qsizetype end = place + sizeof(quint32);
    const QByteArray begin = file.peek(end);
    return begin.size() == end ? qFromBigEndian<quint32>(begin.constData() + place) : 0;
}

// Until the descriptor is closed. False if another process has the file.
static bool lock(int descriptor)
{
    return flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

// Another process may look at it at this moment.
static void keepForUs(const QFile &file)
{
    while (file.isOpen() && flock(file.handle(), LOCK_EX) != 0 && errno == EINTR) {
    }
}

void UnfinishedPictures::begin(QFile &file, const QString &picture)
{
    const QFileInfo info(picture);
    for (int copy = 1; copy <= mostFiles && !file.isOpen(); ++copy) {
        const QString number = copy == 1 ? QString() : QString::number(copy);
        file.setFileName(info.path() + QStringLiteral("/.") + info.fileName() + ending + number);
        if (!file.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered) && !file.exists())
            return;
    }
    keepForUs(file);
}

void UnfinishedPictures::beginForm(QFile &file, const QFile &other)
{
    const QString first = firstForm(other.fileName());
    const int number = other.fileName().mid(first.size() + form.size()).toInt(); // 0 of the first one
    for (int next = std::max(number, 1) + 1; next <= mostFiles && !file.isOpen(); ++next) {
        file.setFileName(first + form + QString::number(next));
        if (!file.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered) && !file.exists())
            return;
    }
    keepForUs(file);
}

// Its owner may have renamed it since it was opened.
static bool isAt(const QFile &file, const QString &path)
{
    struct stat opened = {}, there = {};
    return fstat(file.handle(), &opened) == 0 && lstat(QFile::encodeName(path).constData(), &there) == 0 &&
           opened.st_ino == there.st_ino && opened.st_dev == there.st_dev;
}

// True if the file is one of ours, and its process is gone.
static bool takeOver(QFile &file)
{
    // Network file systems lock for writing only what can be written to.
    return !pictureName(QFileInfo(file).fileName()).isEmpty() &&
           file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) && lock(file.handle()) &&
           isAt(file, file.fileName()) && isOurs(file);
}

// The path of the picture, empty if there is none.
static QString completed(const QFileInfo &left)
{
    constexpr int mostOfAName = 99;
    const QFileInfo name(pictureName(left.fileName()));
    QFile file(left.filePath());
    if (!takeOver(file))
        return {};
    if (rowsOf(file) == 0) { // or it has only just been made
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

// Of two forms of a picture the lesser one is removed. Returns the other, or an empty path if a process has them.
static QString betterForm(const QString &earlier, const QString &later)
{
    QFile one(earlier), other(later);
    if (!takeOver(one) || !takeOver(other))
        return {};
    const QFile &lesser = rowsOf(other) < rowsOf(one) ? other : one;
    // Not lesser.remove(), which gives up the lock first.
    return QFile::remove(lesser.fileName()) ? (&lesser == &one ? later : earlier) : QString();
}

QStringList UnfinishedPictures::complete(const QString &folder)
{
    QStringList pictures;
    const auto filter = QDir::Files | QDir::Hidden | QDir::NoSymLinks;
    const QString pattern = QStringLiteral(".?*") + ending + u'*';
    QString best; // of the forms so far
    for (const QString &name : QDir(folder).entryList({pattern}, filter, QDir::Name)) {
        const QString path = folder + u'/' + name;
        best = firstForm(path) == firstForm(best) ? betterForm(best, path) : path;
    }
    for (const QFileInfo &left : QDir(folder).entryInfoList({pattern}, filter)) {
        if (const QString path = completed(left); !path.isEmpty())
            pictures << path;
    }
    return pictures;
}

} // namespace qm
