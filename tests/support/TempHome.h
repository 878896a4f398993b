#pragma once

#include <QString>
#include <QTemporaryDir>

namespace qm {

// A home of its own for one test: HOME and every XDG folder point below a temporary folder that goes with the object.
// Make it before anything of the application is asked.
class TempHome
{
public:
    TempHome();

    QString path() const { return m_folder.path(); }
    QString file(const QString &relative) const { return m_folder.filePath(relative); }

    // Writes a file below the home, folders included.
    void write(const QString &relative, const QByteArray &content) const;
    QByteArray read(const QString &relative) const;
    void setModified(const QString &relative, qint64 secondsSince1970) const;
    // Writes a program for /bin/sh, to stand in for a child program; returns its path.
    QString script(const QString &relative, const QByteArray &body) const;

private:
    QTemporaryDir m_folder;
};

} // namespace qm
