#include "helpers/qmscroll/Rivals.h"

#include <algorithm>

namespace qm {

constexpr int rivalShare = 4; // one in so many of the rows that a place is told by makes another one its rival
constexpr int litHeight = 48; // pixels: of a row that lights up under the pointer
constexpr size_t mostLit = 2;

// One hash of each row over some of its bands.
Rivals::Digests Rivals::digests(const Bands &bands) const
{
    const auto digest = [&bands](const RowHash &row) {
        quint32 sum = 0;
        for (size_t band = 0; band < bandCount; ++band)
            sum = (sum ^ (bands[band] ? row[band] : 0)) * 0x01000193;
        return sum;
    };
    Digests digests;
    for (const RowHash &row : m_now.rows)
        digests.now.push_back(digest(row));
    for (int row = m_held.first(); row < m_held.end(); ++row)
        digests.held.push_back(digest(m_held[row]));
    return digests;
}

// The rows in between may move with the page. What keeps its place at the edges may have changed by a number.
Span Rivals::between(const Bands &bands) const
{
    constexpr size_t numberShare = 5; // it takes at most one in so many bands
    const int height = m_now.height(), most = height / headerShare;
    const auto keepsPlace = [&](int y) {
        const Bands changed = differing(m_now.rows[size_t(y)], m_last.rows[size_t(y)]) & bands;
        return numberShare * changed.count() <= bands.count();
    };
    Span span{0, height};
    while (span.from < most && keepsPlace(span.from))
        ++span.from;
    while (span.to > height - most && keepsPlace(span.to - 1))
        --span.to;
    return {std::max(span.from, m_top), std::min(span.to, m_bottom)};
}

// How many rows differ in their whole width from this one on, up to more than a row that lights up under the pointer has.
int Rivals::litRows(int at, int y, int to, const Bands &used) const
{
    const int last = std::min(to, y + litHeight + 1), from = y;
    while (y < last && (differing(m_now.rows[size_t(y)], m_held[at + y]) & used) == used)
        ++y;
    return y - from;
}

// True if a place explains these rows of the frame as well as the trial does. What the trial leaves unexplained counts for
// neither, and of what it does not show half of all may have changed by itself. So may the row under the pointer, which lights
// up where it is, and no longer does where it was.
bool Rivals::explainsToo(int at, const Span &span, const Trial &trial, int first, const Digests &rows) const
{
    constexpr size_t mostCarets = 2; // where it is on the page, and where it was
    const auto agrees = [&](int place, int y) {
        return rows.now[size_t(y)] == rows.held[size_t(place + y - m_held.first())];
    };
    struct Count {
        int rows = 0, differ = 0;
    } shown, others;
    std::vector<Span> lit;
    bool hasCaret = false, wasSame = true;
    for (int y = span.from; y < span.to; ++y) {
        const bool same = agrees(at, y), isShown = y >= first && y < trial.to;
        if (!same && wasSame && lit.size() < mostLit) {
            const int count = litRows(at, y, span.to, trial.used);
            if (count > 0 && count <= litHeight) {
                lit.push_back({y, y + count});
                y += count - 1;
                continue;
            }
        }
        wasSame = same;
        if (isShown && !agrees(trial.placement.at, y))
            continue;
        const bool isCaret = !same && (trial.exact || !isShown) &&
                             (differing(m_now.rows[size_t(y)], m_held[at + y]) & trial.used).count() == 1;
        if (isShown && trial.exact && !same && !isCaret)
            return false;
        Count &count = isShown ? shown : others;
        ++count.rows;
        count.differ += !same && !isCaret;
        hasCaret |= isCaret && isShown;
    }
    if (5 * shown.differ > shown.rows || 2 * (shown.differ + others.differ) > shown.rows + others.rows)
        return false;
    if (!trial.exact || !hasCaret)
        return true;
    std::vector<Span> changed =
        changes(at, trial.used, std::max(span.from, first), std::min(span.to, trial.to), mostCarets);
    std::erase_if(changed, [&lit](const Span &change) {
        return std::any_of(lit.begin(), lit.end(), [&](const Span &row) { return row.from == change.from; });
    });
    return changed.empty();
}

bool Rivals::exist(const Trial &trial) const
{
    const Digests rows = digests(trial.used);
    const auto agrees = [&](int at, int y) {
        return rows.now[size_t(y)] == rows.held[size_t(at + y - m_held.first())];
    };
    const auto marks = [&](int at, int from, int to) { // rows that agree and differ from the one above
        int count = 0;
        for (int y = std::max(from, 1); y < to; ++y)
            count += agrees(at, y) && rows.now[size_t(y)] != rows.now[size_t(y - 1)];
        return count;
    };
    const int height = m_now.height();
    // Rows that keep their place do so wherever the frame lies.
    const Span moving = moved(trial.placement.at) ? between(trial.used) : Span{m_known.top, m_bottom};
    const int first = std::max({moving.from, trial.placement.top, m_held.first() - trial.placement.at});
    const int own = marks(trial.placement.at, first, trial.to);
    const int furthest = m_held.end() - fewestLandmarks;
    for (int at = m_held.first() - height + fewestLandmarks; at < furthest; ++at) {
        // The picture may begin with a header, which has hidden the page.
        const int from = std::max({moving.from, m_held.first() - at, m_held.first() == 0 ? moving.from - at : 0});
        const int bottom = moved(at) ? moving.to : m_known.bottom;
        const int to = std::min(bottom, m_held.end() - (height - bottom) - at);
        if (at == trial.placement.at || from >= to || !explainsToo(at, {from, to}, trial, first, rows))
            continue;
        int start = from, end = to; // some rows keep their place by chance
        while (start > std::max(0, m_held.first() - at) && agrees(at, start - 1))
            --start;
        while (end < std::min(height, m_held.end() - at) && agrees(at, end))
            ++end;
        const int found = marks(at, std::max(start, m_top), std::min(end, m_bottom));
        const bool stands = found >= fewestLandmarks && end - start >= leastOverlap(); // alone it would be accepted
        if (stands || (found >= 2 && rivalShare * found >= own))
            return true;
        // What is blank explains more than what has changed.
        const auto fits = [&] {
            int y = from;
            while (y < to && agrees(at, y))
                ++y;
            return y == to;
        };
        if (!trial.exact && to - from >= leastOverlap() && fits())
            return true;
    }
    return false;
}

bool Rivals::fitsSomewhere() const
{
    Bands middle = m_known.moving.any() ? m_known.moving : Bands().set();
    for (const size_t band : {0, 1, bandCount - 2, bandCount - 1})
        middle.reset(band);
    const Digests rows = digests(middle);
    for (int at = m_held.first() - m_now.height(); at < m_held.end(); ++at) {
        const int from = std::max(m_known.top, m_held.first() - at), to = comparedTo(at);
        int y = from;
        while (y < to && rows.now[size_t(y)] == rows.held[size_t(at + y - m_held.first())])
            ++y;
        if (y >= to && to - from >= std::max(1, leastOverlap()))
            return true;
    }
    return false;
}

} // namespace qm
