#pragma once

#include "index/Database.h"

#include <QStringList>

#include <optional>

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

// One row, as the scan makes it; read already where there is a text.
inline bool addRow(Database &database, const QString &path, qint64 modifiedMs, const std::optional<QString> &text = {})
{
    Statement insert = database.prepare("INSERT INTO shots(path, filename, mtime_ms, ocr_text, ocr_done, indexed_at)"
                                        " VALUES(?, ?, ?, ?, ?, 'now')");
    insert.bind(1, path);
    insert.bind(2, path.section(u'/', -1));
    insert.bind(3, modifiedMs);
    if (text)
        insert.bind(4, *text);
    insert.bind(5, int(text.has_value()));
    return insert.run();
}

} // namespace qm
