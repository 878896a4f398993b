#include "helpers/qmocr/TextReader.h"

#include "helpers/qmocr/Doubts.h"
#include "helpers/qmocr/Frames.h"
#include "helpers/qmocr/InkPlaces.h"
#include "helpers/qmocr/Preprocess.h"
#include "helpers/qmocr/ReadingOrder.h"
#include "helpers/qmocr/Rows.h"
#include "helpers/qmocr/Slices.h"
#include "helpers/qmocr/Text.h"

#include <algorithm>

namespace qm::ocr {

static constexpr double less = 0.75; // of the scale, for a second opinion
static constexpr int tiniest = 6;    // textHeight() in pixels, of fonts up to 10

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
        const QList<Line> vertical = m_languages.isEmpty() ? m_vertical.take(part, spots, m_first) : QList<Line>();
        QList<Line> lines = m_first.read(part, readingScale(textHeight(spots), part.size())) + vertical;
        for (Line &line : lines)
            line.translate(piece.topLeft());
        read += lines;
    }
    return joined(pieces, read);
}

// A row's box with some room around it, which the recogniser needs.
static QRect withRoom(const QRect &row)
{
    const int margin = std::max(3, row.height() / 4);
    return row.adjusted(-2 * margin, -margin, 2 * margin, margin);
}

static Engine &loaded(std::optional<Engine> &engine, const QStringList &languageSets)
{
    if (!engine)
        engine.emplace(languageSets, Engine::Layout::sparse);
    return *engine;
}

// What three readings of a line say together. The fragments that the first has of it stand only if the others are worse.
static void settle(QList<Line> &lines, const Doubt &doubt, const QList<Symbol> &again)
{
    QList<Symbol> before;
    bool sure = true;
    for (const qsizetype i : doubt.lines) {
        QList<Symbol> symbols = lines[i].symbols;
        symbols.first().blankBefore = !before.isEmpty();
        before += symbols;
        sure = sure && isSure(lines[i]);
    }
    const bool isWhole = doubt.lines.size() == 1 || sure;
    if (!isWhole && confidenceOf(again) < confidenceOf(before))
        return;
    const std::optional<Line> line = lineOf(isWhole ? better(before, again) : again);
    for (const qsizetype i : doubt.lines)
        lines[i] = i == doubt.lines.first() && line ? *line : Line();
}

QList<Line> TextReader::readAgain(QList<Line> &lines, const QImage &prepared, const QRegion &elsewhere)
{
    QList<Line> missed;
    const auto take = [&](const Doubt &doubt, const QList<Symbol> &again) {
        if (!doubt.lines.isEmpty())
            return settle(lines, doubt, again);
        const std::optional<Line> line = lineOf(again);
        if (line && line->text.size() > 1 && isSure(*line)) // icons are hardly ever read with confidence
            missed += *line;
    };
    const Components spots = spotsOf(prepared);
    const int height = textHeight(spots);
    const double scale = readingScale(height, prepared.size());
    QList<QRect> rows = rowsAmong(spots, height);
    rows.removeIf([&](const QRect &row) { return elsewhere.intersects(row); });
    QList<Doubt> latin, japanese;
    QList<QRect> latinAreas, japaneseAreas;
    for (const Doubt &doubt : doubtsAmong(lines, rows, height)) {
        (doubt.isJapanese ? japanese : latin) += doubt;
        (doubt.isJapanese ? japaneseAreas : latinAreas) += withRoom(doubt.area);
    }
    if (!latin.isEmpty()) {
        Engine &engine = loaded(m_latin, setsFor(m_languages, {QStringLiteral("eng")}));
        const QList<QList<Symbol>> again = engine.readRows(prepared, scale, latinAreas);
        for (qsizetype i = 0; i < latin.size(); ++i)
            take(latin[i], again[i]);
    }
    if (!japanese.isEmpty()) {
        Engine &engine = loaded(m_japanese, setsFor(m_languages, {QStringLiteral("jpn")}));
        // The two see different things if one picture is smaller. Of tiny text, it is the other one.
        const bool isTiny = height <= tiniest;
        const QList<QList<Symbol>> again = engine.readRows(prepared, scale * (isTiny ? less : 1), japaneseAreas);
        const QList<QList<Symbol>> other = m_first.readRows(prepared, scale * (isTiny ? 1 : less), japaneseAreas);
        for (qsizetype i = 0; i < japanese.size(); ++i)
            take(japanese[i], better(again[i], other[i], sureConfidence));
    }
    return missed;
}

QList<Line> TextReader::second(const QImage &gray, const QList<Line> &first, Boxes boxes)
{
    QList<Line> lines = first, late;
    QList<bool> done(lines.size(), false);
    for (const QRect &area : slices(gray)) {
        QList<qsizetype> places;
        QList<Line> here;
        QRegion elsewhere = QRegion(area) - clearPart(area, gray.rect(), edge);
        for (const Line &line : std::as_const(late))
            elsewhere += line.box & area;
        for (qsizetype i = 0; i < lines.size(); ++i) {
            if (done[i] || !area.contains(lines[i].box)) {
                elsewhere += lines[i].box & area;
                continue;
            }
            done[i] = true;
            places += i;
            here += lines[i];
            here.last().translate(-area.topLeft());
        }
        if (here.isEmpty() || (boxes == Boxes::no && std::all_of(here.begin(), here.end(), isSure)))
            continue;
        const QImage part = prepared(gray.copy(area));
        const QList<Line> missed = readAgain(here, part, elsewhere.translated(-area.topLeft()));
        const auto finished = [&](const Line &line) {
            Line result = lineOf(withoutNoise(line.symbols)).value_or(Line());
            result.isVertical = line.isVertical;
            if (boxes == Boxes::yes)
                placeByInk(result, part);
            result.translate(area.topLeft());
            return result;
        };
        for (qsizetype i = 0; i < here.size(); ++i)
            lines[places[i]] = finished(here[i]);
        for (const Line &line : missed)
            late += finished(line);
    }
    const auto isEmpty = [](const Line &line) { return line.text.isEmpty(); };
    lines.removeIf(isEmpty);
    late.removeIf(isEmpty);
    for (const Line &line : std::as_const(late))
        insertInOrder(lines, line);
    return lines;
}

} // namespace qm::ocr
