#include "helpers/qmocr/Slices.h"

#include "helpers/qmocr/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

namespace qm::ocr {

static constexpr qint64 largestWhole = 2880 * 1800; // pixels; larger pictures are cut
static constexpr qint64 pieceArea = 4'000'000;      // pixels; at double scale, the most that is read at once
static constexpr int widest = 8000;                 // pixels; wider pictures are also cut side by side
static constexpr int shortest = 2 * overlap;        // pixels
static constexpr int edgeStep = 24;                 // difference in grey levels between neighbours that makes an edge

// The amount of text in each row of the strip, measured as its number of edges.
static std::vector<int> ink(const QImage &gray, int top, int bottom, int left, int right)
{
    std::vector<int> rows;
    for (int y = top; y < bottom; ++y) {
        const uchar *in = gray.constScanLine(y);
        int edges = 0;
        for (int x = left + 1; x < right; ++x)
            edges += std::abs(in[x] - in[x - 1]) >= edgeStep;
        rows.push_back(edges);
    }
    return rows;
}

// The middle of the longest run of rows with the least ink.
static int quietest(const std::vector<int> &ink)
{
    const int least = *std::min_element(ink.begin(), ink.end());
    int best = 0, bestLength = 0;
    for (int i = 0, start = 0; i < int(ink.size()); ++i) {
        if (ink[i] != least)
            start = i + 1;
        else if (i + 1 - start > bestLength) {
            bestLength = i + 1 - start;
            best = start + bestLength / 2;
        }
    }
    return best;
}

static QList<QRect> rowsOf(const QImage &gray, int left, int right)
{
    const int height = gray.height();
    const int target = int(std::max<qint64>(pieceArea / (right - left), shortest));
    QList<QRect> pieces;
    for (int top = 0;;) {
        const int start = std::max(0, top - overlap / 2);
        // A last piece up to a third too large is better than another cut.
        if (height - top <= target + target / 3) {
            pieces += QRect(left, start, right - left, height - start);
            return pieces;
        }
        const int from = top + target * 3 / 4, to = top + target;
        const int cut = from + quietest(ink(gray, from, to, left, right));
        pieces += QRect(left, start, right - left, cut + overlap / 2 - start);
        top = cut;
    }
}

QList<QRect> slices(const QImage &gray)
{
    const int width = gray.width();
    if (gray.isNull())
        return {};
    if (qint64(width) * gray.height() <= largestWhole && std::max(width, gray.height()) <= widest)
        return {gray.rect()};
    const int columns = (width + widest - 1) / widest;
    QList<QRect> pieces;
    for (int i = 0; i < columns; ++i) {
        const int left = int(qint64(width) * i / columns), right = int(qint64(width) * (i + 1) / columns);
        pieces += rowsOf(gray, std::max(0, left - overlap / 2), std::min(width, right + overlap / 2));
    }
    return pieces;
}

static qint64 area(const QRect &rect)
{
    return rect.isEmpty() ? 0 : qint64(rect.width()) * rect.height();
}

static bool mostlyIn(const QRect &box, const QRect &other)
{
    return 2 * area(box & other) > area(box);
}

QRect clearPart(const QRect &piece, const QRect &whole, int margin)
{
    return piece.adjusted(piece.left() > whole.left() ? margin : 0, piece.top() > whole.top() ? margin : 0,
                          piece.right() < whole.right() ? -margin : 0, piece.bottom() < whole.bottom() ? -margin : 0);
}

// True if the line ends at the piece's edge although the picture continues below or above.
static bool isStump(const QRect &box, const QRect &piece, const QRect &whole)
{
    const QRect clear = clearPart(piece, whole, edge);
    return box.top() < clear.top() || box.bottom() > clear.bottom();
}

// Two readings of one row, which reach into each other: every word is left to the one that has more around it. The right
// one may become empty.
static void shareOut(Line &left, Line &right)
{
    const QRect common = left.box & right.box;
    const bool goesOn = left.box.left() + edge < right.box.left() && left.box.right() + edge < right.box.right() &&
                        common.height() * 2 > std::min(left.box.height(), right.box.height());
    if (!goesOn || left.isVertical || right.isVertical)
        return;
    static constexpr double infinite = std::numeric_limits<double>::infinity();
    const std::optional<Line> before = lineOf(wordsBetween(left.symbols, -infinite, common.center().x()));
    if (!before)
        return;
    left = *before;
    right = lineOf(wordsBetween(right.symbols, left.box.right(), infinite)).value_or(Line());
}

QList<Line> joined(const QList<QRect> &pieces, const QList<QList<Line>> &read)
{
    QRect whole;
    for (const QRect &piece : pieces)
        whole |= piece;
    QList<Line> lines;
    // True if one of the first `count` lines is this one, perhaps read slightly differently.
    const auto isKnown = [&](const Line &line, qsizetype count) {
        return std::any_of(lines.cbegin(), lines.cbegin() + count, [&](const Line &known) {
            return mostlyIn(line.box, known.box) || mostlyIn(known.box, line.box);
        });
    };
    struct Spare {
        Line line;
        qsizetype at; // its place in lines
    };
    QList<Spare> spare;
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const QRect own = clearPart(pieces[i], whole, overlap / 2); // nearer to it than to any other
        const qsizetype before = lines.size();
        for (const Line &line : read[i]) {
            if (own.contains(line.box.center())) {
                Line rest = line;
                for (qsizetype k = 0; k < before; ++k)
                    shareOut(lines[k], rest);
                if (!rest.text.isEmpty() && !isKnown(rest, before))
                    lines += rest;
            } else if (!isStump(line.box, pieces[i], whole)) {
                spare += {line, lines.size()};
            }
        }
    }
    for (auto it = spare.crbegin(); it != spare.crend(); ++it)
        if (!isKnown(it->line, lines.size()))
            lines.insert(it->at, it->line);
    return lines;
}

} // namespace qm::ocr
