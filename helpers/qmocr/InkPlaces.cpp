#include "helpers/qmocr/InkPlaces.h"

#include "helpers/qmocr/Preprocess.h"

#include <QStringView>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace qm::ocr {

// Lengths are in parts of an em, the size of the font, of which a Japanese character takes one.
static constexpr double narrow = 0.3, medium = 0.55, wide = 0.85;
static constexpr double blankWidth = 0.28;
static constexpr double smallestBlank = 0.22; // a narrower gap may be one between letters
static constexpr double bearing = 0.06;       // between a character's ink and the next cell
static constexpr int mostParts = 80;          // that one word is looked for in

namespace {

// Columns with ink in all of them, as far as a narrow place.
struct Part {
    int left, right; // pixels; right is not included
    double gap = 0;  // ems of white after it
    double cut = 0;  // what it costs to cut here, if there is no gap
};

// A word of the line, which takes some of the parts.
struct Unit {
    double advance;   // ems
    bool isCharacter; // of a script without blanks
    bool blankAfter;  // also at the end
    double guess;     // where the recogniser has its left edge, in pixels
};

struct Ink {
    std::vector<int> columns; // dark pixels of each
    int left;                 // of the first column
    int top, bottom;          // of what is dark; bottom is not included
};

} // namespace

static double advanceOf(QChar c)
{
    if (QStringView(u"iljtfI.,:;'|!()[]{}` ").contains(c))
        return narrow;
    if (QStringView(u"mwMW@%").contains(c))
        return wide;
    return c.isUpper() ? 0.65 : medium;
}

static std::vector<Unit> unitsOf(const Line &line)
{
    std::vector<Unit> units;
    for (qsizetype i = 0; i < line.words.size(); ++i) {
        const Word &word = line.words[i];
        const QStringView text = QStringView(line.text).mid(word.start, word.length);
        const qsizetype end = word.start + word.length;
        Unit unit{.advance = 1,
                  .isCharacter = text.size() <= 2 && text.front().unicode() > 0x2e80,
                  .blankAfter = end == line.text.size() || line.text[end] == u' ',
                  .guess = double(word.box.left())};
        if (!unit.isCharacter) {
            unit.advance = 0;
            for (const QChar c : text)
                unit.advance += c.unicode() > 0x2e80 ? 1 : advanceOf(c);
        }
        units.push_back(unit);
    }
    return units;
}

static Ink inkOf(const QImage &prepared, const QRect &area)
{
    Ink ink{
        .columns = std::vector<int>(size_t(area.width())), .left = area.left(), .top = area.bottom() + 1, .bottom = 0};
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const uchar *in = prepared.constScanLine(y) + area.left();
        for (int x = 0; x < area.width(); ++x) {
            if (in[x] < darkBelow) {
                ++ink.columns[size_t(x)];
                ink.top = std::min(ink.top, y);
                ink.bottom = y + 1;
            }
        }
    }
    return ink;
}

// Cut at the gaps, and where there is less ink than on either side.
static std::vector<Part> partsOf(const Ink &ink, double em)
{
    const std::vector<int> &columns = ink.columns;
    const int width = int(columns.size()), height = std::max(1, ink.bottom - ink.top);
    const auto at = [&](int x) { return x < 0 || x >= width ? 0 : columns[size_t(x)]; };
    std::vector<Part> parts;
    for (int x = 0; x < width;) {
        if (at(x) == 0) {
            ++x;
            continue;
        }
        const int left = x++;
        const auto isNarrow = [&](int i) {
            return at(i) * 2 <= height && at(i) <= at(i - 1) && at(i) <= at(i + 1) &&
                   at(i) < at(i - 1) + at(i + 1) - at(i);
        };
        while (x < width && at(x) > 0 && !(x - left >= 2 && isNarrow(x)))
            ++x;
        Part part{.left = ink.left + left, .right = ink.left + x};
        if (at(x) > 0)
            part.cut = 0.4 + 2.0 * at(x) / height;
        parts.push_back(part);
    }
    for (size_t i = 0; i + 1 < parts.size(); ++i)
        parts[i].gap = (parts[i + 1].left - parts[i].right) / em;
    return parts;
}

static double squared(double x)
{
    return x * x;
}

// How badly the parts from one to the other suit the unit.
static double costOf(const Unit &unit, const std::vector<Part> &parts, size_t from, size_t to, double innerGaps,
                     double em)
{
    const bool last = to + 1 == parts.size();
    const double inked = (parts[to].right - parts[from].left) / em;
    double cost = innerGaps + 0.1 * std::min(4.0, squared((parts[from].left - unit.guess) / em));
    if (unit.blankAfter || last)
        cost += squared((inked + bearing - unit.advance) / (0.15 + 0.2 * unit.advance));
    else
        cost += squared(((parts[to + 1].left - parts[from].left) / em - unit.advance) / (0.15 + 0.15 * unit.advance));
    if (unit.isCharacter)
        cost += squared(std::max(0.0, inked - 1) / 0.1);
    if (!last)
        cost += parts[to].cut;
    if (unit.blankAfter && !last)
        cost += squared(std::max(0.0, smallestBlank - parts[to].gap) / 0.08);
    return cost;
}

static double innerGapCost(const Unit &unit, double gap)
{
    return unit.isCharacter ? squared(gap / 0.5) : squared(std::max(0.0, gap - smallestBlank) / 0.08);
}

static void placeInRow(Line &line, const QImage &prepared)
{
    const std::vector<Unit> units = unitsOf(line);
    double ems = 0;
    for (const Unit &unit : units)
        ems += unit.advance + (unit.blankAfter ? blankWidth : 0);
    if (units.empty())
        return;
    const double em = std::min(line.box.width() / std::max(0.3, ems - blankWidth), line.box.height() * 1.4);
    const int margin = int(std::ceil(em / 2));
    const Ink ink = inkOf(prepared, line.box.adjusted(-margin, -1, margin, 1) & prepared.rect());
    const std::vector<Part> parts = partsOf(ink, em);
    if (parts.empty())
        return;

    // The best that the first units can do with the first parts, some of which belong to none of them.
    struct Best {
        double cost = std::numeric_limits<double>::infinity();
        int from = -1; // the unit's first part; -1 if the last part is left out
    };
    const size_t width = parts.size() + 1;
    std::vector<Best> table((units.size() + 1) * width);
    table[0].cost = 0;
    for (size_t u = 0; u <= units.size(); ++u) {
        for (size_t end = 1; end <= parts.size(); ++end) {
            Best &best = table[u * width + end];
            const double left = table[u * width + end - 1].cost;
            const double inked = (parts[end - 1].right - parts[end - 1].left) / em;
            const bool isOutside = u == 0 || u == units.size();
            best = {left + (isOutside ? 0.5 + 2 * inked : 1 + 4 * inked), -1};
            double gaps = 0;
            for (size_t from = end; u > 0 && from-- > 0 && end - from <= mostParts;) {
                if (from + 1 < end)
                    gaps += innerGapCost(units[u - 1], parts[from].gap);
                const double before = table[(u - 1) * width + from].cost;
                if (before >= best.cost)
                    continue;
                const double cost = before + costOf(units[u - 1], parts, from, end - 1, gaps, em);
                if (cost < best.cost)
                    best = {cost, int(from)};
            }
        }
    }
    static constexpr double worst = 6; // per word
    if (!(table.back().cost < worst * double(units.size())))
        return;
    size_t end = parts.size();
    line.box = {};
    for (size_t u = units.size(); u > 0;) {
        const Best &best = table[u * width + end];
        if (best.from < 0) {
            --end;
            continue;
        }
        const int left = parts[size_t(best.from)].left, right = parts[end - 1].right;
        Word &word = line.words[qsizetype(--u)];
        word.box = QRect(left, ink.top, right - left, ink.bottom - ink.top);
        line.box |= word.box;
        end = size_t(best.from);
    }
}

static QRect turned(const QRect &box)
{
    return {box.y(), box.x(), box.height(), box.width()};
}

// Rows become columns.
static void turn(Line &line)
{
    line.box = turned(line.box);
    for (Word &word : line.words)
        word.box = turned(word.box);
}

void placeByInk(Line &line, const QImage &prepared)
{
    if (!line.isVertical)
        return placeInRow(line, prepared);
    const int margin = line.box.width();
    const QRect area = line.box.adjusted(-1, -margin, 1, margin) & prepared.rect();
    QImage row(area.height(), area.width(), QImage::Format_Grayscale8);
    for (int y = 0; y < area.height(); ++y)
        for (int x = 0; x < area.width(); ++x)
            row.scanLine(x)[y] = prepared.constScanLine(area.y() + y)[area.x() + x];
    line.translate(-area.topLeft());
    turn(line);
    placeInRow(line, row);
    turn(line);
    line.translate(area.topLeft());
}

} // namespace qm::ocr
