#pragma once

#include <QString>

#include <optional>

namespace qm {

// One indexed screenshot, as the readers see it.
struct Shot {
    qint64 id = 0;
    QString path;                   // absolute
    QString filename;               // its last component
    std::optional<QString> takenAt; // "2024-05-01T09:30:15" as its name says, or with a Z from the file's time in UTC
    std::optional<QString> ocrText; // absent until it was read, and for a file that went before

    bool operator==(const Shot &) const = default;
};

} // namespace qm
