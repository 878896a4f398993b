#pragma once

#include <QStringList>

namespace qm {

// Finds what was searched in a recognised text, to show why a shot was found. Same rules as the search: "%" any text, "_"
// any character, ASCII letters in either case. Any thread.
namespace TextMatch {

struct Range {
    qsizetype start = 0; // UTF-16 units
    qsizetype length = 0;
    bool operator==(const Range &) const = default;
};

// Where the terms are found, in order, at most so many times; what overlaps an earlier one is left out. A term without
// a literal character is found nowhere.
QList<Range> findAll(const QString &text, const QStringList &terms, int limit);

Range lineAt(const QString &text, qsizetype position); // without its end

// The line of the first match, cut to about maxLength characters with "…", and the position of the match in it.
struct Excerpt {
    QString line;
    Range match;
};
Excerpt excerpt(const QString &text, const QStringList &terms, int maxLength);

} // namespace TextMatch
} // namespace qm
