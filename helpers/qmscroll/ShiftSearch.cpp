#include "helpers/qmscroll/ShiftSearch.h"

#include "helpers/qmscroll/PixelRows.h"

#include <algorithm>

namespace qm {

namespace {

constexpr int widestSide = 48;   // a scroll bar with its track on a screen with two pixels per point
constexpr int groupGap = 8;      // matched rows that separate two groups of unmatched ones
constexpr size_t mostGroups = 3; // a caret, the row highlighted before, and the one highlighted now
constexpr int groupShare = 5;    // groups may take at most one in so many of the overlap's rows
constexpr int againstGroups = 4, againstEnds = 2;
constexpr int mostCandidates = 64; // if more fit the signatures, several fit the pixels
constexpr int leastForEnds = 120;  // minimum rows of a part in which to look for a header

bool leavesSides(ShiftSearch::Leave leave)
{
    return leave == ShiftSearch::Leave::sides || leave == ShiftSearch::Leave::sidesAndEnds;
}

bool leavesEnds(ShiftSearch::Leave leave)
{
    return leave == ShiftSearch::Leave::ends || leave == ShiftSearch::Leave::sidesAndEnds;
}

} // namespace

ShiftSearch::ShiftSearch(const QImage &before, const QImage &now, const QRect &part, int tolerance)
    : m_before(before)
    , m_now(now)
    , m_part(part)
    , m_tolerance(tolerance)
    , m_side(std::min(widestSide, part.width() / 8))
    , m_rowsBefore(before, part.left() + m_side, part.right() + 1 - m_side, tolerance)
    , m_rowsNow(now, part.left() + m_side, part.right() + 1 - m_side, tolerance)
{
}

int ShiftSearch::changes() const
{
    return m_rowsNow.changes(m_part.top(), m_part.bottom());
}

// A shift compared over fewer rows is no rival.
int ShiftSearch::leastOverlap() const
{
    return std::max(4, m_part.height() / 10);
}

ShiftSearch::Pair ShiftSearch::pairFor(int shift) const
{
    if (shift > 0)
        return {m_before, m_now, m_rowsBefore, m_rowsNow, shift};
    return {m_now, m_before, m_rowsNow, m_rowsBefore, -shift};
}

bool ShiftSearch::rowsDiffer(const Pair &pair, int y, int left, int right) const
{
    return PixelRows::differ(PixelRows::at(pair.lower, y) + left, PixelRows::at(pair.upper, y + pair.shift) + left,
                             right - left, m_tolerance);
}

// The shifts that the signatures allow, those with the fewest differing rows first.
std::vector<int> ShiftSearch::candidates(bool leaveEnds) const
{
    std::vector<std::pair<int, int>> found; // differing rows, shift
    const int furthest = m_part.height() - leastOverlap();
    for (int shift = -furthest; shift <= furthest; ++shift) {
        if (shift == 0)
            continue;
        const Pair pair = pairFor(shift);
        const int overlap = m_part.height() - pair.shift;
        const int allowed = leaveEnds ? overlap / 2 : overlap / groupShare;
        const int top = m_part.top();
        const int differing = pair.lowerRows.differing(top, pair.upperRows, top + pair.shift, overlap, allowed);
        if (differing <= allowed)
            found.push_back({differing, shift});
    }
    std::stable_sort(found.begin(), found.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    std::vector<int> shifts;
    for (size_t i = 0; i < found.size() && i < mostCandidates; ++i)
        shifts.push_back(found[i].second);
    return shifts;
}

// The rows that match at a shift, with the few groups among them that do not. Only rows of the part.
std::optional<ShiftSearch::Run> ShiftSearch::run(const Pair &pair, int left, int right, bool leaveEnds) const
{
    const int first = m_part.top(), end = m_part.bottom() + 1 - pair.shift;
    const int allowed = (end - first) / groupShare;
    std::vector<Span> groups;
    int rows = 0; // in groups
    for (int y = first; y < end; ++y) {
        if (!rowsDiffer(pair, y, left, right))
            continue;
        if (groups.empty() || y - groups.back().to > groupGap)
            groups.push_back({y, y});
        rows += y + 1 - groups.back().to;
        groups.back().to = y + 1;
        if (!leaveEnds && (rows > allowed || groups.size() > mostGroups))
            return {};
    }
    if (groups.size() <= mostGroups && rows <= allowed)
        return Run{first, end, groups};
    if (m_part.height() < leastForEnds)
        return {};

    // The longest stretch between two groups that contains few enough unmatched rows.
    const int height = m_now.height();
    Run best{0, 0, {}};
    for (size_t i = 0; i <= groups.size(); ++i) {
        const int from = i == 0 ? first : groups[i - 1].to;
        int within = 0;
        for (size_t j = i; j <= groups.size() && j <= i + 1; ++j) {
            const int to = j == groups.size() ? end : groups[j].from;
            const bool fits =
                within <= (to - from) / groupShare && from - first <= height / 4 && end - to <= height / 4;
            if (fits && to - from > best.to - best.from)
                best = {from, to, {groups.begin() + qsizetype(i), groups.begin() + qsizetype(j)}};
            if (j < groups.size())
                within += groups[j].to - groups[j].from;
        }
    }
    if (best.to - best.from < (end - first) * 2 / 3)
        return {};
    return best;
}

// Counts in blocks a few text lines high, each overlapping the next by half.
int ShiftSearch::distinctBlocks(const Pair &pair, int from, int to) const
{
    const int height = std::clamp(m_part.height() / 8, 6, 64);
    int found = 0;
    for (int y = from; y + height <= to && found < mostDistinct; y += height / 2) {
        found += pair.lowerRows.distinct(y, height) && pair.upperRows.distinct(y + pair.shift, height);
    }
    return found;
}

// How far the rows that match within the tolerance are from equal. std::nullopt if the differences are neither noise
// nor a different rendering of the same text: those of a gradient that moved all go one way.
std::optional<double> ShiftSearch::error(const Pair &pair, const Fit &fit, const Run &run) const
{
    PixelRows::Differences moved, neighbours;
    const int width = fit.right - fit.left;
    size_t group = 0;
    for (int y = run.from; y + 1 < run.to; ++y) {
        while (group < run.groups.size() && y >= run.groups[group].to)
            ++group;
        if (group < run.groups.size() && y >= run.groups[group].from)
            continue;
        const quint32 *lower = PixelRows::at(pair.lower, y) + fit.left;
        moved.add(lower, PixelRows::at(pair.upper, y + pair.shift) + fit.left, width);
        neighbours.add(lower, PixelRows::at(pair.lower, y + 1) + fit.left, width);
    }
    if (moved.oneWay())
        return {};
    return double(moved.energy) / double(std::max<quint64>(1, neighbours.energy));
}

std::optional<ShiftSearch::Fit> ShiftSearch::verify(int shift, Leave leave) const
{
    const Pair pair = pairFor(shift);
    const int side = leavesSides(leave) ? m_side : 0;
    Fit fit;
    fit.shift = shift;
    fit.left = m_part.left() + side;
    fit.right = m_part.right() + 1 - side;
    const std::optional<Run> matching = run(pair, fit.left, fit.right, leavesEnds(leave));
    if (!matching)
        return {};
    int from = matching->from, to = matching->to;

    // Nothing changed beyond the part, but what moved may have looked the same there.
    while (from > 0 && from <= m_part.top() && !rowsDiffer(pair, from - 1, fit.left, fit.right))
        --from;
    while (to >= m_part.bottom() + 1 - pair.shift && to + pair.shift < m_now.height() &&
           !rowsDiffer(pair, to, fit.left, fit.right))
        ++to;

    fit.matched = to - from;
    fit.changes = pair.lowerRows.changes(from, to - 1);
    // Content in rows left unexplained, in either frame, speaks against the shift.
    const auto changesIn = [&pair](int start, int end) {
        return std::max(pair.lowerRows.changes(start, end),
                        pair.upperRows.changes(start + pair.shift, end + pair.shift));
    };
    const int first = m_part.top(), end = m_part.bottom() + 1 - pair.shift;
    int against = againstEnds * ((from > first ? changesIn(first, from) : 0) + (to < end ? changesIn(to, end) : 0));
    int stretch = matching->from;
    const auto consider = [&](int start, int stop) {
        if (stop - start > fit.to - fit.from) {
            fit.from = start;
            fit.to = stop;
        }
        fit.distinct += distinctBlocks(pair, start == matching->from ? from : start, stop == matching->to ? to : stop);
    };
    for (const Span &group : matching->groups) {
        const int above = std::max(group.from - 1, from), below = std::min(group.to, to - 1);
        fit.unmatched += group.to - group.from;
        fit.open.push_back({shift > 0 ? group.from : group.from + pair.shift, group.to - group.from});
        fit.changes -= pair.lowerRows.changes(above, below);
        against += againstGroups * changesIn(above, below);
        consider(stretch, group.from);
        stretch = group.to;
    }
    consider(stretch, matching->to);
    fit.whole = matching->from == m_part.top() && matching->to == m_part.bottom() + 1 - pair.shift;
    fit.matched -= fit.unmatched;
    if (fit.matched < leastOverlap() || fit.changes < against)
        return {};
    if (m_tolerance > 0) {
        const std::optional<double> difference = error(pair, fit, *matching);
        if (!difference)
            return {};
        fit.error = *difference;
    }
    return fit;
}

std::vector<ShiftSearch::Fit> ShiftSearch::fits(Leave leave) const
{
    std::vector<Fit> found;
    for (const int shift : candidates(leavesEnds(leave))) {
        if (const std::optional<Fit> fit = verify(shift, leave))
            found.push_back(*fit);
    }
    return found;
}

} // namespace qm
