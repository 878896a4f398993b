#pragma once

#include "index/TextBoxes.h"

#include <QList>
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

// The answer to one look into the index.
struct SearchResult {
    enum class Match {
        typed, // the shots hold the text as it was typed
        words, // none does; these hold all of its words, in their text or name, in any order
    };

    QList<Shot> shots = {}; // newest first
    Match match = Match::typed;
    int unreadablePictures = 0; // of all in the index
    bool failed = false; // the index is locked or damaged: what is in it is not known. No index at all is no failure
};

// Where the text of a shot stands.
struct ShotPlaces {
    bool unread = false;            // nothing is known, though it has a text: an older program has read it
    std::optional<TextBoxes> boxes; // absent also if its file has changed since, or is gone
};

// Why a picture has no text.
struct ReadFailure {
    QString path;
    QString reason; // in the helper's words
};

} // namespace qm
