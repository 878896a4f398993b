#pragma once

#include <QList>
#include <QRect>
#include <QString>

namespace qm::ocr {

// A character as it was recognised, perhaps several that touch.
struct Symbol {
    QString text;
    QRectF box; // pixels of the picture
    bool beginsWord = false;
    bool blankBefore = false;  // implies beginsWord; words of Japanese have none before them
    double confidence = 100.0; // in its word, 0 to 100; above 80 nearly every word is right
};

// A part of a line that can be pointed at: a word, or one character of a script written without blanks.
struct Word {
    qsizetype start = 0, length = 0; // within the line's text, in UTF-16 units
    QRect box;
};

// A line of text and its position, in pixels of the picture.
struct Line {
    QRect box;
    QString text;               // never empty, see lineOf()
    QList<Word> words;          // in the order of the text, of which they leave out the blanks
    QList<Symbol> symbols = {}; // what it was made of
    bool isVertical = false;    // from top to bottom

    void translate(QPoint by)
    {
        box.translate(by);
        for (Word &word : words)
            word.box.translate(by);
        for (Symbol &symbol : symbols)
            symbol.box.translate(by);
    }
};

enum class Boxes { no, yes }; // whether it is told where lines and words stand

} // namespace qm::ocr
