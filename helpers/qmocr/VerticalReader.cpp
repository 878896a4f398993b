#include "helpers/qmocr/VerticalReader.h"

#include "helpers/qmocr/Columns.h"
#include "helpers/qmocr/Text.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qm::ocr {

static constexpr double bestEm = 20; // pixels

static double scaleFor(const Columns &columns)
{
    return std::clamp(std::round(bestEm / columns.em * 4) / 4, 0.25, 3.0);
}

// A column of icons, or a narrow one of a table, reads as hardly any Japanese.
static bool isText(const QList<Line> &lines)
{
    int count = 0, japanese = 0;
    double confidence = 0;
    for (const Line &line : lines) {
        for (const Symbol &symbol : line.symbols) {
            ++count;
            japanese += isJapanese(symbol);
            confidence += symbol.confidence;
        }
    }
    return count >= 4 && japanese * 3 >= count * 2 && confidence >= sureConfidence * 0.75 * count;
}

// Read in rows, columns yield few characters, for most stand too far apart.
static bool areRows(const QList<Line> &inRows, const QList<Line> &inColumns)
{
    qsizetype rows = 0, columns = 0;
    for (const Line &line : inRows)
        rows += std::count_if(line.symbols.begin(), line.symbols.end(),
                              [](const Symbol &symbol) { return symbol.confidence >= sureConfidence; });
    for (const Line &line : inColumns)
        columns += line.symbols.size();
    return rows * 5 > columns * 2;
}

// The engine tells where words begin and end in a column, which it takes for wider than it is.
static Line placed(const Line &line, int em)
{
    QList<Symbol> symbols = line.symbols;
    std::vector<double> centres;
    for (qsizetype start = 0, end; start < symbols.size(); start = end) {
        const QRectF word = symbols[start].box;
        centres.push_back(word.center().x());
        for (end = start + 1; end < symbols.size() && !symbols[end].beginsWord;)
            ++end;
        const double step = word.height() / double(end - start);
        for (qsizetype i = start; i < end; ++i)
            symbols[i].box = {word.x(), word.y() + double(i - start) * step, word.width(), step};
    }
    const auto middle = centres.begin() + ptrdiff_t(centres.size() / 2);
    std::nth_element(centres.begin(), middle, centres.end());
    for (Symbol &symbol : symbols)
        symbol.box = {*middle - em * 0.5, symbol.box.y(), double(em), symbol.box.height()};
    Line result = lineOf(symbols).value_or(line);
    result.isVertical = true;
    return result;
}

QList<Line> VerticalReader::take(QImage &prepared, const Components &spots, Engine &other)
{
    QList<Line> lines;
    const QList<Columns> found = columnsAmong(spots);
    for (const Columns &columns : found) {
        if (!m_engine)
            m_engine.emplace(QStringList{QStringLiteral("Japanese_vert"), QStringLiteral("script/Japanese_vert"),
                                         QStringLiteral("jpn_vert")},
                             Engine::Layout::columns);
        const int margin = columns.em * 3 / 5;
        const QRect area = columns.box.adjusted(-margin, -margin, margin, margin) & prepared.rect();
        QList<Line> read = m_engine->read(prepared.copy(area), scaleFor(columns));
        if (!isText(read) || areRows(other.read(prepared.copy(area), scaleFor(columns)), read))
            continue;
        for (Line &line : read) {
            line = placed(line, columns.em);
            line.translate(area.topLeft());
        }
        lines += read;
        for (int y = columns.box.top(); y <= columns.box.bottom(); ++y)
            std::fill_n(prepared.scanLine(y) + columns.box.left(), columns.box.width(), uchar(255));
    }
    return lines;
}

} // namespace qm::ocr
