#pragma once

#include "index/Database.h"

#include <QDateTime>
#include <QFile>
#include <QStringList>

#include <utime.h>

namespace qm {

// Small helpers for tests that look into the index.

// All rows of a statement, a row a line, columns parted by "|"; NULL reads as "-".
inline QStringList rows(Database &database, const char *sql, int columns)
{
    QStringList lines;
    Statement statement = database.prepare(sql);
    while (statement.nextRow()) {
        QStringList line;
        for (int column = 0; column < columns; ++column)
            line << (statement.isNull(column) ? QStringLiteral("-") : statement.text(column));
        lines << line.join(u'|');
    }
    return lines;
}

inline void setModified(const QString &path, qint64 secondsSince1970)
{
    const utimbuf times{secondsSince1970, secondsSince1970};
    if (utime(QFile::encodeName(path).constData(), &times) != 0)
        qFatal("cannot set the time of %s", qPrintable(path));
}

} // namespace qm
