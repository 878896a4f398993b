#include "helpers/qmocr/Doubts.h"

#include "helpers/qmocr/Text.h"

#include <algorithm>

namespace qm::ocr {

static bool hasJapanese(const Line &line)
{
    return std::any_of(line.symbols.begin(), line.symbols.end(),
                       [](const Symbol &symbol) { return isJapanese(symbol); });
}

// Strokes of large characters are taken for signs.
static bool hasOnlySigns(const Line &line)
{
    return std::none_of(line.text.begin(), line.text.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

// Two characters or more, by its shape.
static bool mayBeText(const QRect &row, int textHeight)
{
    return row.height() * 10 >= textHeight * 7 && row.height() * 2 <= textHeight * 5 &&
           row.width() * 5 >= row.height() * 6;
}

static qint64 area(const QRect &rect)
{
    return rect.isEmpty() ? 0 : qint64(rect.width()) * rect.height();
}

static bool isMostlyIn(const QRect &box, const QRect &other)
{
    return area(box & other) * 10 > area(box) * 6;
}

QList<Doubt> doubtsAmong(const QList<Line> &lines, const QList<QRect> &rows, int textHeight)
{
    QList<Doubt> doubts;
    QList<bool> done(lines.size(), false);
    QList<QRect> areas; // the only row of each line
    for (const Line &line : lines) {
        QRect only;
        int count = 0;
        for (const QRect &row : rows)
            if (isMostlyIn(row, line.box)) {
                only = row;
                ++count;
            }
        areas += count == 1 && line.box.height() * 2 > only.height() * 3 ? only : line.box;
    }
    for (const QRect &row : rows) {
        const bool isUnread =
            std::none_of(lines.begin(), lines.end(), [&](const Line &line) { return line.box.intersects(row); });
        if (isUnread && mayBeText(row, textHeight))
            doubts += {.area = row, .lines = {}, .isJapanese = true};
        Doubt doubt{.area = row, .lines = {}};
        for (qsizetype i = 0; i < lines.size(); ++i) {
            if (done[i] || lines[i].isVertical || !isMostlyIn(areas[i], row.adjusted(-2, -2, 2, 2)))
                continue;
            doubt.lines += i;
            doubt.isJapanese = doubt.isJapanese || hasJapanese(lines[i]) || hasOnlySigns(lines[i]);
        }
        if (doubt.lines.size() < 2 || !doubt.isJapanese)
            continue;
        std::sort(doubt.lines.begin(), doubt.lines.end(),
                  [&](qsizetype a, qsizetype b) { return lines[a].box.left() < lines[b].box.left(); });
        for (const qsizetype i : std::as_const(doubt.lines))
            done[i] = true;
        doubts += doubt;
    }
    for (qsizetype i = 0; i < lines.size(); ++i)
        if (!done[i] && !lines[i].isVertical && !isSure(lines[i]))
            doubts += {.area = areas[i], .lines = {i}, .isJapanese = hasJapanese(lines[i])};
    return doubts;
}

} // namespace qm::ocr
