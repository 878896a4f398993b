#include "helpers/qmocr/TextReader.h"

#include "helpers/qmocr/Doubts.h"
#include "helpers/qmocr/Frames.h"
#include "helpers/qmocr/InkPlaces.h"
#include "helpers/qmocr/Preprocess.h"
#include "helpers/qmocr/Rows.h"
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
    if (doubt.lines.isEmpty()) { // icons are hardly ever read with confidence
        const std::optional<Line> line = lineOf(again);
        if (line && line->text.size() > 1 && isSure(*line))
            lines += *line;
        return;
    }
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

void TextReader::readAgain(QList<Line> &lines, const QImage &prepared, const QRegion &elsewhere)
{
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
            settle(lines, latin[i], again[i]);
    }
    if (!japanese.isEmpty()) {
        Engine &engine = loaded(m_japanese, setsFor(m_languages, {QStringLiteral("jpn")}));
        const QList<QList<Symbol>> again = engine.readRows(prepared, scale, japaneseAreas);
        const QList<QList<Symbol>> smaller = m_first.readRows(prepared, scale * 3 / 4, japaneseAreas);
        for (qsizetype i = 0; i < japanese.size(); ++i)
            settle(lines, japanese[i], better(again[i], smaller[i], sureConfidence));
    }
}

QList<Line> TextReader::second(const QImage &gray, const QList<Line> &first, Boxes boxes)
{
    QList<Line> lines = first;
    QList<bool> done(lines.size(), false);
    for (const QRect &area : slices(gray)) {
        QList<qsizetype> places;
        QList<Line> here;
        QRegion elsewhere = QRegion(area) - clearPart(area, gray.rect(), edge);
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
        readAgain(here, part, elsewhere.translated(-area.topLeft()));
        for (qsizetype i = 0; i < here.size(); ++i) {
            if (i >= places.size()) { // found only now
                places += lines.size();
                lines += Line();
                done += true;
            }
            Line &line = lines[places[i]];
            line = lineOf(withoutNoise(here[i].symbols)).value_or(Line());
            line.isVertical = here[i].isVertical;
            if (boxes == Boxes::yes)
                placeByInk(line, part);
            line.translate(area.topLeft());
        }
    }
    lines.removeIf([](const Line &line) { return line.text.isEmpty(); });
    return lines;
}

} // namespace qm::ocr
