#pragma once

#include <QString>

#include <optional>

namespace qm {

// One indexed screenshot, as readers see it.
struct Shot {
    qint64 id = 0;
    QString path = {};                   // absolute
    QString filename = {};               // its last component
    std::optional<QString> takenAt = {}; // "2024-05-01T09:30:15" from its name, or with a Z from the file's time in UTC
    std::optional<QString> ocrText = {}; // empty until read, and for files that vanished before that

    bool operator==(const Shot &) const = default;
};

} // namespace qm
