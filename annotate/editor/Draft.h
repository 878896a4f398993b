#pragma once

#include "annotate/document/ItemCodec.h"

#include <QDateTime>
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

    // By an editor that did not come to its end.
    struct Left {
        QString sourcePath;
        QDateTime stored;
        enum class Picture { same, changed, gone } picture; // since that editor read it; gone: no picture is there
        ItemCodec::Edits edits;
    };
    std::optional<Left> load() const;          // std::nullopt if there is none
    bool store(const ItemCodec::Edits &edits); // false if it cannot be written; the previous one then stays
    void remove();

    // The newest first, one of each picture. Not those of pictures that are open: their editors offer them.
    static QList<Left> left();
    static void removeOld();

private:
    struct Stamp { // of the picture's file
        qint64 size, modified;
        bool operator==(const Stamp &) const = default;
    };
    static Stamp stampOf(const QString &sourcePath);

    const QString m_sourcePath;
    const QString m_path;
    const Stamp m_stamp;
    QByteArray m_stored;
};

} // namespace qm
