#pragma once

#include "annotate/document/ItemCodec.h"

#include <QString>

namespace qm {

// What is being drawn over a picture, kept in a file until it is saved or discarded: a crash or a log-out does not lose it.
// Readable only by the user. Main thread. As long as one of these lives, no other takes the same file: a second editor of
// the same picture gets one of its own.
class Draft
{
public:
    static constexpr int daysKept = 30;

    explicit Draft(const QString &sourcePath); // absolute
    ~Draft();
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;

    std::optional<ItemCodec::Edits> load() const; // left by an earlier editor; std::nullopt if there is none
    bool store(const ItemCodec::Edits &edits);    // false if it cannot be written; the previous one then stays
    void remove();

    static void removeOld();

private:
    QString m_path;
};

} // namespace qm
