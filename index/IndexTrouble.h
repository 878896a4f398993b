#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

namespace qm {

// What kept the running application from bringing the index up to date the last time it tried, for `qms status` to tell.
// In a file of the runtime folder: a full disk could not hold it, nor an index that cannot be opened. Any thread.
struct IndexTrouble {
    enum class Kind { open, write, helper };

    Kind kind = Kind::open;
    QString reason; // in SQLite's or the helper's words
    QDateTime since = QDateTime::currentDateTimeUtc();

    static QString file();
    static std::optional<IndexTrouble> read();
    // Replaces what was recorded. The time stays that of the first of several failures that are alike. Quiet.
    static void record(const std::optional<IndexTrouble> &trouble);
};

} // namespace qm
