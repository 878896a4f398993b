#include "helpers/qmscroll/ScrollBar.h"

#include "helpers/qmscroll/FrameChange.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <span>
#include <vector>

namespace qm {

namespace {

constexpr int narrowest = 5, widest = 40; // pixels; some 20 points where two pixels make one
constexpr int fewestSamples = 3;          // two fix the proportion, the third confirms it
constexpr int samplesPerHeight = 16;      // at most: places that lie closer together tell nothing
constexpr int leastWay = 4;               // pixels, of the thumb over all samples: more than rounding
constexpr int shortestThumb = 8;          // pixels
constexpr int endShare = 3;               // buttons and a corner: at most so many widths at either end
constexpr double rounding = 1.5;          // pixels, of where a thumb lies
// A thumb is as long in proportion to its track as the view to the page. It may be longer, on a very long page.
constexpr double tolerance = 1.25, mostProportion = 0.9;
constexpr int lopsided = 2; // pixels: a thumb lies in the middle of its track, but for a line at the side

// Rows that are alike.
struct Piece {
    int from, to;
    int length() const { return to - from; }
};

const QRgb *rowOf(const QImage &edge, int y, int width)
{
    return reinterpret_cast<const QRgb *>(edge.constScanLine(y)) + edge.width() - width;
}

std::vector<Piece> piecesOf(const QImage &edge, int width)
{
    std::vector<Piece> pieces;
    for (int y = 0; y < edge.height(); ++y) {
        if (pieces.empty() || !areAlike(rowOf(edge, y, width), rowOf(edge, pieces.back().from, width), width))
            pieces.push_back({y, y});
        pieces.back().to = y + 1;
    }
    return pieces;
}

// What lies left of it is something else, along all its height. A bar above or below both, such as a title, is not.
bool hasSide(const QImage &edge, int width)
{
    const auto isSide = [&](int from, int to) {
        int differ = 0;
        for (int y = from; y < to; ++y) {
            const QRgb *row = rowOf(edge, y, width);
            differ += ((row[0] ^ row[-1]) & 0xffffff) != 0;
        }
        return 4 * differ >= 3 * (to - from);
    };
    const int height = edge.height(), end = std::min(2 * width, height);
    return isSide(0, height) && isSide(0, end) && isSide(height - end, height);
}

// The thumb covers neither more nor less of the track at its left than at its right.
bool isCentred(const QImage &edge, const Piece &track, const Piece &thumb, int width)
{
    const QRgb *plain = rowOf(edge, track.from, width);
    int left = width, right = 0; // of the columns that differ
    for (int y = thumb.from; y < thumb.to; ++y) {
        const QRgb *row = rowOf(edge, y, width);
        for (int x = 0; x < width; ++x) {
            if ((row[x] ^ plain[x]) & 0xffffff) {
                left = std::min(left, x);
                right = std::max(right, x + 1);
            }
        }
    }
    return 2 * (right - left) >= width && std::abs(left - (width - right)) <= lopsided;
}

// True if it does so in proportion to the page, and goes as far as a thumb of this length may.
bool goesAlong(std::span<const ScrollBar::Sample> samples, int length, const std::function<int(size_t)> &thumb)
{
    const int from = thumb(0), way = thumb(samples.size() - 1) - from;
    const double proportion = double(way) / (samples.back().at - samples.front().at);
    for (size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(from + proportion * (samples[i].at - samples.front().at) - thumb(i)) > rounding)
            return false;
    }
    const int height = samples.front().edge.height();
    return way >= leastWay && proportion <= mostProportion && proportion * height <= tolerance * length;
}

// True if the frames differ in nothing but where a thumb lies on its track.
bool isBar(std::span<const ScrollBar::Sample> samples, int width)
{
    const QImage &edge = samples.front().edge;
    const std::vector<Piece> pieces = piecesOf(edge, width);
    std::vector<bool> varies(pieces.size());
    std::vector<std::vector<Piece>> all;
    for (const ScrollBar::Sample &sample : samples) {
        all.push_back(piecesOf(sample.edge, width));
        if (!hasSide(sample.edge, width) || all.back().size() != pieces.size())
            return false;
        for (size_t i = 0; i < pieces.size(); ++i) {
            if (!areAlike(rowOf(edge, pieces[i].from, width), rowOf(sample.edge, all.back()[i].from, width), width))
                return false;
            if (pieces[i].length() != all.back()[i].length())
                varies[i] = true;
        }
    }
    if (std::count(varies.begin(), varies.end(), true) != 2)
        return false;
    const size_t above = size_t(std::find(varies.begin(), varies.end(), true) - varies.begin());
    const size_t below = size_t(std::find(varies.begin() + qsizetype(above) + 1, varies.end(), true) - varies.begin());
    const Piece &track = pieces[above], thumb{track.to, pieces[below].from};
    return areAlike(rowOf(edge, track.from, width), rowOf(edge, pieces[below].from, width), width) &&
           std::max(track.from, edge.height() - pieces[below].to) <= endShare * width &&
           thumb.length() >= shortestThumb && isCentred(edge, track, thumb, width) &&
           goesAlong(samples, thumb.length(), [&](size_t i) { return all[i][above].to; });
}

// True if the edge has no rows but those of the samples. At its ends, where a button may be on or off, only what goes on from
// the page counts.
bool isKnown(const QImage &edge, std::span<const ScrollBar::Sample> samples, int width)
{
    std::vector<const QRgb *> known;
    const auto isAmong = [&](const QRgb *row) {
        return std::any_of(known.begin(), known.end(), [&](const QRgb *other) { return areAlike(row, other, width); });
    };
    for (const ScrollBar::Sample &sample : samples) {
        for (const Piece &piece : piecesOf(sample.edge, width)) {
            if (const QRgb *row = rowOf(sample.edge, piece.from, width); !isAmong(row))
                known.push_back(row);
        }
    }
    const int end = endShare * width;
    int strange = 0, setOff = 0;
    for (int y = 0; y < edge.height(); ++y) {
        const QRgb *row = rowOf(edge, y, width);
        if (isAmong(row))
            continue;
        if (y >= end && y < edge.height() - end)
            return false;
        ++strange;
        setOff += ((row[0] ^ row[-1]) & 0xffffff) != 0;
    }
    return 4 * setOff >= 3 * strange;
}

} // namespace

void ScrollBar::see(const QImage &frame, int at)
{
    const auto next = std::lower_bound(m_samples.begin(), m_samples.end(), at,
                                       [](const Sample &sample, int place) { return sample.at < place; });
    const int least = frame.height() / samplesPerHeight;
    const bool isKnown = (next != m_samples.end() && next->at - at < least) ||
                         (next != m_samples.begin() && at - std::prev(next)->at < least);
    if (!isKnown && frame.width() > 2 * widest)
        m_samples.insert(next, {frame.copy(frame.width() - widest - 1, 0, widest + 1, frame.height()), at});
}

int ScrollBar::width() const
{
    // Where there is nothing to scroll to, a button may look otherwise, and there is no track.
    for (const int above : {0, 1}) {
        for (const int below : {0, 1}) {
            if (m_samples.size() < size_t(fewestSamples + above + below))
                continue;
            const std::span samples(m_samples.data() + above, m_samples.size() - size_t(above + below));
            for (int width = widest; width >= narrowest; --width) {
                const auto isExplained = [&](const Sample &sample) { return isKnown(sample.edge, samples, width); };
                if (isBar(samples, width) && std::all_of(m_samples.begin(), m_samples.end(), isExplained))
                    return width;
            }
        }
    }
    return 0;
}

bool ScrollBar::isAllOf(const QImage &frame, int width) const
{
    return isKnown(frame, m_samples, width);
}

} // namespace qm
