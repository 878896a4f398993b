#pragma once

#include <QByteArray>
#include <QList>
#include <QRect>
#include <QString>

#include <optional>

class QJsonArray;

namespace qm {

// Where the words of a recognised text stand in its picture. A value; any thread.
struct TextBoxes {
    struct Word {
        qsizetype start = 0; // UTF-16 units of the whole text
        qsizetype length = 0;
        QRect box; // pixels of the picture as shown, as high as its line

        bool operator==(const Word &) const = default;
    };
    QList<Word> words; // in the order of the text

    bool operator==(const TextBoxes &) const = default;

    // From the helper's "lines". std::nullopt if they do not fit the text.
    static std::optional<TextBoxes> fromLines(const QJsonArray &lines, const QString &text);

    // As the index keeps it, deflated. What is unpacked with another text than it was packed with, or was damaged, is
    // std::nullopt.
    QByteArray packed(const QString &text) const;
    static std::optional<TextBoxes> unpacked(const QByteArray &packed, const QString &text);

    // Where a part of the text stands: a rectangle for each line that it touches. Words count as a whole if only some of
    // their units are asked for, except that a word's box is divided evenly among them.
    QList<QRectF> boxesOf(qsizetype start, qsizetype length) const;
};

} // namespace qm
