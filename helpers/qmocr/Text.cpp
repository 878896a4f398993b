#include "helpers/qmocr/Text.h"

#include <QStringList>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace qm::ocr {

// Kana, ideographs, and the punctuation written among them without blanks. Full-width letters and digits are left out:
// words written in them are separated by blanks like any others.
static bool isJapanese(char32_t c)
{
    static constexpr std::pair<char32_t, char32_t> ranges[] = {
        {0x3001, 0x30ff}, // 、。「」々, kana with the long vowel mark
        {0x31f0, 0x31ff},   {0x3400, 0x4dbf}, {0x4e00, 0x9fff}, {0xf900, 0xfaff}, {0xff01, 0xff0f},
        {0xff1a, 0xff20},   {0xff3b, 0xff40}, {0xff5b, 0xff9f}, // full-width punctuation, half-width kana
        {0x20000, 0x3ffff},
    };
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [c](const auto &range) { return c >= range.first && c <= range.second; });
}

namespace {

// What the reader of the text takes for one character, with the part of the picture that it stands on.
struct Character {
    QString text;
    QRectF box;

    bool isBlank() const { return text == u' '; }
    bool isJapanese() const { return qm::ocr::isJapanese(text.toUcs4().front()); }
};

} // namespace

// Splits the box evenly among the units of the symbol's text.
static QRectF partOf(const Symbol &symbol, qsizetype unit)
{
    const double step = symbol.box.width() / double(symbol.text.size());
    return {symbol.box.x() + double(unit) * step, symbol.box.y(), step, symbol.box.height()};
}

static QList<Character> charactersOf(const QList<Symbol> &symbols)
{
    QString text;
    QList<QRectF> boxes; // of the units of the text
    for (const Symbol &symbol : symbols) {
        if (symbol.blankBefore) {
            text += u' ';
            boxes += QRectF();
        }
        for (qsizetype i = 0; i < symbol.text.size(); ++i) {
            text += symbol.text[i];
            boxes += partOf(symbol, i);
        }
    }

    QList<Character> characters;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype start = 0, end; (end = finder.toNextBoundary()) > 0; start = end) {
        Character character;
        for (qsizetype i = start; i < end; ++i) {
            if (text[i].isSpace())
                character.text = u' ';
            else if (text[i].category() != QChar::Other_Control && text[i].category() != QChar::Other_Format)
                character.text += text[i];
            character.box |= boxes[i];
        }
        character.text = character.text.normalized(QString::NormalizationForm_C);
        if (!character.text.isEmpty())
            characters += character;
    }
    return characters;
}

static void removeNeedlessBlanks(QList<Character> &characters)
{
    QList<Character> kept;
    for (qsizetype i = 0; i < characters.size(); ++i) {
        const bool needless =
            characters[i].isBlank() && (kept.isEmpty() || i + 1 == characters.size() || characters[i + 1].isBlank() ||
                                        (kept.last().isJapanese() && characters[i + 1].isJapanese()));
        if (!needless)
            kept += characters[i];
    }
    characters = kept;
}

std::optional<Line> lineOf(const QList<Symbol> &symbols)
{
    QList<Character> characters = charactersOf(symbols);
    removeNeedlessBlanks(characters);
    if (characters.isEmpty())
        return std::nullopt;
    Line line;
    bool within = false; // a word that continues
    for (const Character &character : std::as_const(characters)) {
        const qsizetype start = line.text.size();
        line.text += character.text;
        const QRect box = character.box.toAlignedRect();
        if (character.isBlank()) {
            within = false;
        } else if (character.isJapanese() || !within) {
            line.words += {start, character.text.size(), box};
            within = !character.isJapanese();
        } else {
            line.words.last().length += character.text.size();
            line.words.last().box |= box;
        }
        line.box |= box;
    }
    return line;
}

static QString folded(const QString &text)
{
    return text.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

static QString withoutBlanks(QString text)
{
    return text.remove(u' ');
}

QString textOf(const QList<Line> &lines)
{
    QStringList texts;
    for (const Line &line : lines)
        texts += line.text;
    return texts.join(u'\n');
}

QList<Line> merged(const QList<Line> &first, const QList<Line> &second)
{
    QList<Line> result = first;
    const QString known = folded(textOf(first)).replace(u'\n', u' ');
    const QString knownLetters = withoutBlanks(known);
    for (const Line &line : second) {
        const QString text = folded(line.text);
        if (knownLetters.contains(withoutBlanks(text)))
            continue;
        const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
        const bool adds = std::any_of(words.begin(), words.end(),
                                      [&](const QString &word) { return word.size() >= 2 && !known.contains(word); });
        if (adds)
            result += line;
    }
    return result;
}

} // namespace qm::ocr
