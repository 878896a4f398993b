#include "helpers/qmocr/Text.h"

#include <QStringList>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <span>
#include <vector>

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
    line.symbols = symbols;
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

bool isSure(const Line &line)
{
    return std::all_of(line.symbols.begin(), line.symbols.end(),
                       [](const Symbol &symbol) { return symbol.confidence >= sureConfidence; });
}

bool isJapanese(const Symbol &symbol)
{
    return !symbol.text.isEmpty() && isJapanese(symbol.text.toUcs4().front());
}

namespace {

using Stretch = std::span<const Symbol>;

// Symbols of two readings that are the same.
struct Match {
    qsizetype one, other;
};

} // namespace

// The longest common subsequence.
static std::vector<Match> matches(const QList<Symbol> &one, const QList<Symbol> &other)
{
    const qsizetype width = other.size() + 1;
    std::vector<int> lengths(size_t((one.size() + 1) * width)); // of that of the rests
    const auto length = [&](qsizetype i, qsizetype k) -> int & { return lengths[size_t(i * width + k)]; };
    for (qsizetype i = one.size() - 1; i >= 0; --i)
        for (qsizetype k = other.size() - 1; k >= 0; --k)
            length(i, k) =
                one[i].text == other[k].text ? length(i + 1, k + 1) + 1 : std::max(length(i + 1, k), length(i, k + 1));
    std::vector<Match> found;
    for (qsizetype i = 0, k = 0; i < one.size() && k < other.size();) {
        if (one[i].text == other[k].text)
            found.push_back({i++, k++});
        else
            ++(length(i + 1, k) >= length(i, k + 1) ? i : k);
    }
    return found;
}

static constexpr double agreedConfidence = 50; // enough to stand

static bool endsWord(const QList<Symbol> &symbols, qsizetype i)
{
    return i + 1 == symbols.size() || symbols[i + 1].beginsWord;
}

// The mean over the symbols; 0 of none.
static double confidenceOf(Stretch symbols)
{
    double sum = 0;
    for (const Symbol &symbol : symbols)
        sum += symbol.confidence;
    return symbols.empty() ? 0 : sum / double(symbols.size());
}

double confidenceOf(const QList<Symbol> &symbols)
{
    return confidenceOf(Stretch(symbols));
}

QList<Symbol> better(const QList<Symbol> &one, const QList<Symbol> &other, double agreed)
{
    QList<Symbol> result;
    Match from{0, 0};
    int common = 0; // symbols since then
    const auto take = [&](Match to) {
        const Stretch mine(one.constData() + from.one, size_t(to.one - from.one));
        const Stretch theirs(other.constData() + from.other, size_t(to.other - from.other));
        const double least = mine.empty() ? sureConfidence : confidenceOf(mine);
        const Stretch best = confidenceOf(theirs) > least ? theirs : mine;
        // What both read is there, however unsure they are; shorter things agree by chance.
        const bool isAgreed = best.size() >= 3 && size_t(common) * 2 >= best.size();
        for (Symbol symbol : best) {
            if (isAgreed)
                symbol.confidence = std::max(symbol.confidence, agreedConfidence);
            if (common == 1 && best.size() == 1 && isJapanese(symbol))
                symbol.confidence = std::max(symbol.confidence, agreed);
            if (common == 0 && symbol.confidence < sureConfidence && !isJapanese(symbol))
                symbol.confidence /= 2; // the readings have nothing in common
            result += symbol;
        }
        from = to;
        common = 0;
    };
    for (const Match &match : matches(one, other)) {
        // Words are taken whole.
        const bool alone = isJapanese(one[match.one]);
        if (alone || (one[match.one].beginsWord && other[match.other].beginsWord))
            take(match);
        ++common;
        if (alone || (endsWord(one, match.one) && endsWord(other, match.other)))
            take({match.one + 1, match.other + 1});
    }
    take({one.size(), other.size()});
    return result;
}

QList<Symbol> wordsBetween(const QList<Symbol> &symbols, double left, double right)
{
    QList<Symbol> result;
    for (qsizetype start = 0, end; start < symbols.size(); start = end) {
        QRectF box = symbols[start].box;
        for (end = start + 1; end < symbols.size() && !symbols[end].beginsWord && !isJapanese(symbols[end]) &&
                              !isJapanese(symbols[end - 1]);
             ++end)
            box |= symbols[end].box;
        if (const double middle = box.center().x(); middle >= left && middle < right)
            result += symbols.mid(start, end - start);
    }
    return result;
}

QList<Symbol> withoutNoise(const QList<Symbol> &symbols)
{
    static constexpr double least = 40; // confidence
    const auto isJapaneseAt = [&](qsizetype i) { return i >= 0 && i < symbols.size() && isJapanese(symbols[i]); };
    QList<Symbol> result;
    bool blank = false;
    for (qsizetype i = 0; i < symbols.size(); ++i) {
        blank = blank || symbols[i].blankBefore;
        // Among others, a Japanese character is rarely made up.
        const bool amongOthers = isJapaneseAt(i) && (isJapaneseAt(i - 1) || isJapaneseAt(i + 1));
        if (symbols[i].confidence < least && !amongOthers)
            continue;
        result += symbols[i];
        result.last().blankBefore = blank;
        blank = false;
    }
    return result;
}

QString textOf(const QList<Line> &lines)
{
    QStringList texts;
    for (const Line &line : lines)
        texts += line.text;
    return texts.join(u'\n');
}

} // namespace qm::ocr
