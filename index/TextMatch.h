#pragma once

#include <QString>

#include <optional>

namespace qm {

// Where a search text stands in a recognised text, for those who show why a shot was found. The same rules as the search:
// "%" any text, "_" any character, ASCII letters in either case. Any thread.
namespace TextMatch {

struct Range {
    qsizetype start = 0; // UTF-16 units
    qsizetype length = 0;
    bool operator==(const Range &) const = default;
};

// The first match at or behind from; nothing as well for a search text without a single literal character.
std::optional<Range> find(const QString &text, const QString &searched, qsizetype from = 0);

// One line around the first match, cut to about maxLength characters with "…", and where the match stands in it.
struct Excerpt {
    QString line;
    Range match;
};
Excerpt excerpt(const QString &text, const QString &searched, int maxLength);

} // namespace TextMatch
} // namespace qm
