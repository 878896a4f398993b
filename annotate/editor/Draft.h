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

    struct Stamp { // of the picture's file
        qint64 size, modified;
        bool operator==(const Stamp &) const = default;
    };
    // By an editor that did not come to its end.
    struct Left {
        QString sourcePath;
        QDateTime stored;
        ItemCodec::Edits edits;
        std::optional<Stamp> read; // by that editor; earlier versions did not keep it
        enum class Picture { same, changed, gone } picture = Picture::same; // since then; gone: no picture is there
    };
    std::optional<Left> load() const;          // std::nullopt if there is none
    bool store(const ItemCodec::Edits &edits); // false if it cannot be written; the previous one then stays
    void remove();

    // The newest first, one of each picture. Not those of pictures that are open: their editors offer them. The pictures
    // themselves are not looked at.
    static QList<Left> left();
    static Left lookedAt(Left left);                // any thread; takes as long as the picture's folder does
    static void discard(const QString &sourcePath); // what left() has of it
    static void removeOld();

private:
    static Stamp stampOf(const QString &sourcePath);
    static std::optional<Left> read(const QString &path, const QString &sourcePath);

    const QString m_sourcePath;
    const QString m_path;
    const Stamp m_stamp;
    QByteArray m_stored;
};

} // namespace qm
