#include "tests/support/TempHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <utime.h>

namespace qm {

TempHome::TempHome()
{
    if (!m_folder.isValid())
        qFatal("no temporary folder: %s", qPrintable(m_folder.errorString()));
    qputenv("HOME", path().toUtf8());
    const std::pair<const char *, const char *> folders[] = {
        {"XDG_CONFIG_HOME", ".config"},     {"XDG_DATA_HOME", ".local/share"}, {"XDG_CACHE_HOME", ".cache"},
        {"XDG_STATE_HOME", ".local/state"}, {"XDG_RUNTIME_DIR", ".run"},
    };
    for (const auto &[variable, folder] : folders) {
        QDir(path()).mkpath(QString::fromLatin1(folder));
        qputenv(variable, file(QString::fromLatin1(folder)).toUtf8());
    }
    QFile::setPermissions(file(QStringLiteral(".run")), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    // The pictures folder has no variable of its own; Qt reads it from this file.
    write(QStringLiteral(".config/user-dirs.dirs"), "XDG_PICTURES_DIR=\"$HOME/Pictures\"\n");
}

void TempHome::write(const QString &relative, const QByteArray &content) const
{
    QDir().mkpath(QFileInfo(file(relative)).path());
    QFile out(file(relative));
    if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(out.fileName()));
}

QByteArray TempHome::read(const QString &relative) const
{
    QFile in(file(relative));
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

void TempHome::setModified(const QString &relative, qint64 secondsSince1970) const
{
    const utimbuf times{secondsSince1970, secondsSince1970};
    if (utime(QFile::encodeName(file(relative)).constData(), &times) != 0)
        qFatal("cannot set the time of %s", qPrintable(relative));
}

QString TempHome::script(const QString &relative, const QByteArray &body) const
{
    write(relative, "#!/bin/sh\n" + body + "\n");
    QFile::setPermissions(file(relative), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return file(relative);
}

} // namespace qm
