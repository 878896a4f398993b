#include "helpers/qmocr/TextReader.h"

#include "helpers/qmocr/Frames.h"
#include "helpers/qmocr/InkPlaces.h"
#include "helpers/qmocr/Preprocess.h"
#include "helpers/qmocr/Slices.h"
#include "helpers/qmocr/Text.h"

#include <algorithm>

namespace qm::ocr {

static QStringList setsFor(const QString &languages, const QStringList &otherwise)
{
    return languages.isEmpty() ? otherwise : QStringList(languages);
}

// The script data "Japanese" reads Latin too, and better than the two languages together; its name depends on the
// distribution.
TextReader::TextReader(const QString &languages)
    : m_languages(languages)
    , m_first(setsFor(languages,
                      {QStringLiteral("Japanese"), QStringLiteral("script/Japanese"), QStringLiteral("eng+jpn")}),
              Engine::Layout::sparse)
{
}

static Components spotsOf(const QImage &prepared)
{
    return Components::dark(prepared, darkBelow);
}

static QImage prepared(const QImage &gray)
{
    QImage result = normalised(gray);
    removeFrames(result, textHeight(spotsOf(result)));
    return result;
}

QList<Line> TextReader::first(const QImage &gray)
{
    const QList<QRect> pieces = slices(gray);
    QList<QList<Line>> read;
    for (const QRect &piece : pieces) {
        QImage part = prepared(gray.copy(piece));
        const Components spots = spotsOf(part);
        const QList<Line> vertical = m_languages.isEmpty() ? m_vertical.take(part, spots) : QList<Line>();
        QList<Line> lines = m_first.read(part, readingScale(textHeight(spots), part.size())) + vertical;
        for (Line &line : lines)
            line.translate(piece.topLeft());
        read += lines;
    }
    return joined(pieces, read);
}

static bool isSure(const Line &line)
{
    return std::all_of(line.symbols.begin(), line.symbols.end(),
                       [](const Symbol &symbol) { return symbol.confidence >= sureConfidence; });
}

// A line's box with some room around it, which the recogniser needs.
static QRect areaOf(const Line &line)
{
    const int margin = std::max(3, line.box.height() / 4);
    return line.box.adjusted(-2 * margin, -margin, 2 * margin, margin);
}

static bool hasJapanese(const Line &line)
{
    return std::any_of(line.symbols.begin(), line.symbols.end(),
                       [](const Symbol &symbol) { return isJapanese(symbol); });
}

void TextReader::readAgain(const Piece &piece, double scale, const QList<Line *> &lines, std::optional<Engine> &engine,
                           const QString &languages)
{
    if (lines.isEmpty())
        return;
    if (!engine)
        engine.emplace(setsFor(m_languages, {languages}), Engine::Layout::line);
    QList<QRect> areas;
    for (const Line *line : lines)
        areas += areaOf(*line).translated(-piece.place);
    const QList<QList<Line>> again = engine->read(piece.prepared, scale, areas);
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QList<Symbol> symbols;
        for (Line line : again[i]) {
            line.translate(piece.place);
            symbols += line.symbols;
        }
        if (const std::optional<Line> line = lineOf(better(lines[i]->symbols, symbols)))
            *lines[i] = *line;
    }
}

QList<Line> TextReader::second(const QImage &gray, const QList<Line> &first, Boxes boxes)
{
    QList<Line> lines = first;
    QList<bool> done(lines.size(), false);
    for (const QRect &area : slices(gray)) {
        QList<Line *> here, latin, japanese;
        for (qsizetype i = 0; i < lines.size(); ++i) {
            if (done[i] || !area.contains(lines[i].box))
                continue;
            done[i] = true;
            here += &lines[i];
            if (!lines[i].isVertical && !isSure(lines[i]))
                (hasJapanese(lines[i]) ? japanese : latin) += &lines[i];
        }
        if (latin.isEmpty() && japanese.isEmpty() && boxes == Boxes::no)
            continue;
        const Piece piece{prepared(gray.copy(area)), area.topLeft()};
        if (!latin.isEmpty() || !japanese.isEmpty()) {
            const double scale = readingScale(textHeight(spotsOf(piece.prepared)), piece.prepared.size());
            readAgain(piece, scale, latin, m_latin, QStringLiteral("eng"));
            readAgain(piece, scale, japanese, m_japanese, QStringLiteral("jpn"));
        }
        for (Line *line : std::as_const(here)) {
            const bool isVertical = line->isVertical;
            *line = lineOf(withoutNoise(line->symbols)).value_or(Line());
            line->isVertical = isVertical;
            line->translate(-piece.place);
            if (boxes == Boxes::yes)
                placeByInk(*line, piece.prepared);
            line->translate(piece.place);
        }
    }
    lines.removeIf([](const Line &line) { return line.text.isEmpty(); });
    return lines;
}

} // namespace qm::ocr
