#include "helpers/qmscroll/Rivals.h"

#include <algorithm>

namespace qm {

constexpr int rivalShare = 4; // one in so many of the rows that a place is told by makes another one its rival

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

// True if a place explains these rows of the frame as well as the trial does. What the trial leaves unexplained counts for
// neither, and half of what it does not show may have changed by itself.
bool Rivals::explainsToo(int at, const Span &span, const Trial &trial, int first, const Digests &rows) const
{
    constexpr size_t mostCarets = 2; // where it is on the page, and where it was
    const auto agrees = [&](int place, int y) {
        return rows.now[size_t(y)] == rows.held[size_t(place + y - m_held.first())];
    };
    struct Count {
        int rows = 0, differ = 0;
    } shown, others;
    for (int y = span.from; y < span.to; ++y) {
        const bool same = agrees(at, y), isShown = y >= first && y < trial.to;
        if (isShown && !agrees(trial.placement.at, y))
            continue;
        if (isShown && trial.exact && !same &&
            (differing(m_now.rows[size_t(y)], m_held[at + y]) & trial.used).count() > 1)
            return false; // no caret
        Count &count = isShown ? shown : others;
        ++count.rows;
        count.differ += !same;
    }
    if (5 * shown.differ > shown.rows || 2 * others.differ > others.rows)
        return false;
    return !trial.exact || shown.differ == 0 ||
           changes(at, trial.used, std::max(span.from, first), std::min(span.to, trial.to), mostCarets).empty();
}

bool Rivals::exist(const Trial &trial) const
{
    const Digests rows = digests(trial.used);
    const auto marks = [&](int at, int from, int to) { // rows that agree and differ from the one above
        int count = 0;
        for (int y = std::max(from, 1); y < to; ++y)
            count += rows.now[size_t(y)] == rows.held[size_t(at + y - m_held.first())] &&
                     rows.now[size_t(y)] != rows.now[size_t(y - 1)];
        return count;
    };
    const int top = moved(trial.placement.at) ? m_top : m_known.top; // rows above keep their place, wherever this is
    const int first = std::max({top, trial.placement.top, m_held.first() - trial.placement.at});
    const int own = marks(trial.placement.at, first, trial.to);
    const int furthest = m_held.end() - fewestLandmarks;
    for (int at = m_held.first() - m_now.height() + fewestLandmarks; at < furthest; ++at) {
        // The picture may begin with a header, which has hidden the page.
        const int from = std::max({top, m_held.first() - at, m_held.first() == 0 ? top - at : 0}), to = comparedTo(at);
        if (at == trial.placement.at || from >= to || !explainsToo(at, {from, to}, trial, first, rows))
            continue;
        const int found = marks(at, from, to);
        const bool stands = found >= fewestLandmarks && to - from >= leastOverlap(); // alone it would be accepted
        if (stands || (found >= 2 && rivalShare * found >= own))
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
