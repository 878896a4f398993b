#pragma once

#include <QString>

#include <optional>

namespace qm {

// Finds a search text in a recognised text, to show why a shot was found. Same rules as the search: "%" any text, "_"
// any character, ASCII letters in either case. Any thread.
namespace TextMatch {

struct Range {
    qsizetype start = 0; // UTF-16 units
    qsizetype length = 0;
    bool operator==(const Range &) const = default;
};

// The first match at or after from; std::nullopt if there is none, or if the search text has no literal character.
std::optional<Range> find(const QString &text, const QString &searched, qsizetype from = 0);

// The line of the first match, cut to about maxLength characters with "…", and the position of the match in it.
struct Excerpt {
    QString line;
    Range match;
};
Excerpt excerpt(const QString &text, const QString &searched, int maxLength);

} // namespace TextMatch
} // namespace qm
