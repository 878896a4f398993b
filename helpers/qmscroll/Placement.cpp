#include "helpers/qmscroll/Placement.h"

#include "helpers/qmscroll/FrameChange.h"
#include "helpers/qmscroll/Landmarks.h"
#include "helpers/qmscroll/Rivals.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qm {

namespace {

constexpr int rowsOfTwoLines = 24; // of text
constexpr int mostCandidates = 6;  // the page, a sidebar, and what content that grew has pushed away; and as many again
constexpr int thumbShare = 2;      // one in so many rows is covered by a thumb, at most

class Search : private Comparison
{
public:
    Search(const HeldRows &held, const Frame &last, int lastAt, const Frame &now, const Placement::Known &known);
    Placement place() const;

private:
    std::optional<Trial> tryAt(int at) const;
    Bands sides() const;
    Bands agreeing(int at, int from, int to) const;
    Bands standing() const;
    struct Left {
        Bands bands;
        bool isStrange = false; // they are more than a thumb
    };
    Left leftBehind(int at, const Bands &used, int from, int to) const;
    bool differsInside(int y, int row) const;
    int plainTo(int from, const Bands &used, int to) const;
    int header(int at, const Bands &used, int to) const;
    std::vector<int> keptRows(const Bands &used, int from, int to) const;
    int footer(int at, const Bands &used) const;
    bool settleTop(Trial *trial, std::vector<Span> *changes, int fixed) const;
    int agreeingRows(const Trial &trial, const std::vector<Span> &changes, int from) const;
    bool outweighs(const Trial &trial, const Bands &left, int from) const;
    int landmarkRows(int at, const Bands &used, int from, int to) const;
    bool comesFromPage(int at, const Bands &used, const Span &rows) const;
    std::vector<int> candidates() const;
    int headerLimit() const { return std::max(m_top, m_now.height() / headerShare); }

    const Landmarks m_marks;
};

Search::Search(const HeldRows &held, const Frame &last, int lastAt, const Frame &now, const Placement::Known &known)
    : Comparison(held, last, lastAt, now, known)
    , m_marks(held, last, now)
{
}

// Where scroll bars are.
Bands Search::sides() const
{
    const size_t side = size_t(std::min(sideWidth * bandCount / m_now.image.width(), bandCount / 8 - 1)) + 1;
    Bands bands;
    for (size_t i = 0; i < side; ++i)
        bands.set(i).set(bandCount - 1 - i);
    return bands;
}

// The columns that agree with the place. Left out are those of which the far greater part does not, and at the sides
// those of which anything does not.
Bands Search::agreeing(int at, int from, int to) const
{
    const Bands eligible = moved(at) ? m_changed : m_known.moving.any() ? m_known.moving : Bands().set();
    std::array<int, bandCount> agree = {}, disagree = {};
    for (int y = from; y < to; ++y) {
        const RowHash &here = m_now.rows[size_t(y)], &there = m_held[at + y];
        const RowHash &above = m_now.rows[size_t(std::max(0, y - 1))];
        if (2 * (differing(here, there) & eligible).count() > eligible.count())
            continue; // it is the row that has changed
        for (size_t band = 0; band < bandCount; ++band) {
            disagree[band] += here[band] != there[band];
            agree[band] += here[band] == there[band] && here[band] != above[band];
        }
    }
    Bands used;
    for (size_t band = 0; band < bandCount; ++band)
        used[band] = eligible[band] && disagree[band] <= (sides()[band] ? 0 : 4 * agree[band]);
    // If hardly any column agrees it is the rows that have changed.
    const size_t fewest = moved(at) ? std::max<size_t>(1, eligible.count() / 4) : (eligible.count() + 1) / 2;
    return used.count() >= fewest ? used : eligible;
}

// Where the plain rows end that keep their place from this one on, as those of a header do below what it says.
int Search::plainTo(int from, const Bands &used, int to) const
{
    const auto isAlike = [&](int y, const RowHash &other) {
        return (differing(m_now.rows[size_t(y)], other) & used).none();
    };
    int y = from;
    while (y < to && isAlike(y, m_last.rows[size_t(y)]) && (y == from || isAlike(y, m_now.rows[size_t(y - 1)])))
        ++y;
    return y;
}

// The rows at the top that do not move along: the lowest that shows what the last frame showed there, and not the page.
int Search::header(int at, const Bands &all, int to) const
{
    if (!moved(at))
        return m_known.top;
    const Bands used = (all & ~sides()).any() ? all & ~sides() : all; // a thumb may pass a header by
    // Where the picture begins, it shows the header, too.
    const std::vector<int> marks = keptRows(used, 0, m_top);
    int end = marks.empty() ? 0 : marks.back() + 1, kept = 0;
    for (int y = 0; y < std::min(headerLimit(), to); ++y) {
        const RowHash &here = m_now.rows[size_t(y)];
        if ((differing(here, m_last.rows[size_t(y)]) & used).any())
            continue;
        ++kept;
        const bool agrees = at + y < m_held.first() || (differing(here, m_held[at + y]) & used).none();
        // A plain row by itself may be there by chance.
        const bool isMark = y < m_top || y == end || (differing(here, m_now.rows[size_t(y - 1)]) & used).any();
        if (!agrees && isMark && 4 * kept >= 3 * (y + 1))
            end = y + 1;
    }
    return end > 0 ? plainTo(end, used, std::min(headerLimit(), to)) : 0;
}

// The rows in between that have certainly kept their place, top to bottom; none, if they are less than a line of text.
std::vector<int> Search::keptRows(const Bands &used, int from, int to) const
{
    std::vector<int> rows;
    for (const Landmark &mark : m_marks.kept) {
        if (used[mark.band] && mark.y >= from && mark.y < to)
            rows.push_back(mark.y);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows.size() < fewestLandmarks ? std::vector<int>() : rows;
}

// From here on the rows have kept their place, although something there may have changed, such as a number.
int Search::footer(int at, const Bands &used) const
{
    if (!moved(at))
        return m_known.bottom;
    const std::vector<int> kept = keptRows(used, m_now.height() - m_now.height() / headerShare, m_bottom);
    return kept.empty() ? m_bottom : kept.front();
}

int Search::landmarkRows(int at, const Bands &used, int from, int to) const
{
    std::vector<bool> rows(size_t(m_now.height()));
    for (const Landmark &mark : m_marks.inBoth) {
        if (mark.row - mark.y == at && used[mark.band] && mark.y >= from && mark.y < to)
            rows[size_t(mark.y)] = true;
    }
    return int(std::count(rows.begin(), rows.end(), true));
}

// True if these rows of the frame are a part of the page that has begun to stick.
bool Search::comesFromPage(int at, const Bands &used, const Span &rows) const
{
    for (int origin = std::max(m_lastAt, m_held.first() - rows.from); origin < at; ++origin) {
        if (landmarkRows(origin, used, rows.from, rows.to) == 0)
            continue;
        int y = rows.from;
        while (y < rows.to && origin + y < m_held.end() &&
               (differing(m_now.rows[size_t(y)], m_held[origin + y]) & used).none())
            ++y;
        if (y == rows.to)
            return true;
    }
    return false;
}

// The columns that have moved with the page so far, and show something where it was in the last frame.
Bands Search::standing() const
{
    std::array<int, bandCount> marks = {};
    for (const Landmark &mark : m_marks.inBoth)
        marks[mark.band] += mark.row - mark.y == m_lastAt && mark.y >= m_known.top && mark.y < m_known.bottom;
    Bands bands;
    for (size_t band = 0; band < bandCount; ++band)
        bands[band] = m_known.moving[band] && marks[band] >= fewestLandmarks;
    return bands;
}

// In the outermost band, left of where a scroll bar can be.
bool Search::differsInside(int y, int row) const
{
    const int width = m_now.image.width(), from = int(columnOf(bandCount - 1, width));
    const QImage held = m_held.pixels(row, row + 1);
    const auto columns = [from](const QImage &image, int line) {
        return reinterpret_cast<const QRgb *>(image.constScanLine(line)) + from;
    };
    return !areAlike(columns(m_now.image, y), columns(held, 0), std::max(0, width - sideWidth - from));
}

// The columns that have moved with the page so far, and do not at this place. A thumb that comes and goes over the page covers
// the outermost of them, where it is and where it was.
Search::Left Search::leftBehind(int at, const Bands &used, int from, int to) const
{
    Left left;
    int covered = 0, thumbs = 0, last = from - groupGap - 1;
    bool isNarrow = true;
    for (int y = from; y < to; ++y) {
        const Bands here = differing(m_now.rows[size_t(y)], m_held[at + y]) & m_known.moving & ~used;
        if (here.none())
            continue;
        left.bands |= here;
        thumbs += y - last > groupGap;
        isNarrow = isNarrow && !differsInside(y, at + y);
        ++covered;
        last = y;
    }
    const bool isOutermost = left.bands == Bands().set(bandCount - 1);
    const bool isThumb = isOutermost && isNarrow && thumbs <= 2 && covered <= (to - from) / thumbShare;
    left.isStrange = left.bands.any() && !(isThumb && m_known.heading == Heading::forward);
    return left;
}

// What does not agree at the frame's upper edge is a header that was none before, or it has changed where half of it has
// left the frame. False unless it is known to be the former.
bool Search::settleTop(Trial *trial, std::vector<Span> *changes, int fixed) const
{
    Placement &placement = trial->placement;
    const auto reachesTop = [&] {
        const int from = changes->front().from;
        if (!moved(placement.at)) // what is at the page's beginning has nothing above it
            return from < placement.top + groupGap && placement.at + placement.top > 0;
        return from < headerLimit() &&
               landmarkRows(placement.at, trial->used, std::max(fixed, placement.top), from) < fewestLandmarks;
    };
    while (!changes->empty() && reachesTop()) {
        const Span top = changes->front();
        if (!moved(placement.at))
            return m_known.looked;
        if (!comesFromPage(placement.at, trial->used, top)) {
            if (!m_known.looked || top.to > m_now.height() / 2)
                return false;
            trial->strange += top.to - top.from;
        }
        placement.top = top.to;
        changes->erase(changes->begin());
    }
    return true;
}

// The rows around the changes that agree. Between two of them that counts only if something there exists only once:
// rows may agree because they are blank.
int Search::agreeingRows(const Trial &trial, const std::vector<Span> &changes, int from) const
{
    int rows = 0;
    const auto add = [&](int to) {
        if (from < to && landmarkRows(trial.placement.at, trial.used, from, to) >= fewestLandmarks)
            rows += to - from;
    };
    for (const Span &change : changes) {
        add(std::min(change.from, trial.to));
        from = std::max(from, change.to);
    }
    add(trial.to);
    return rows;
}

// A place that leaves something unexplained has to explain more than that, and more than a line of text.
bool Search::outweighs(const Trial &trial, const Bands &left, int from) const
{
    const int at = trial.placement.at;
    size_t against = size_t(trial.strange) * trial.used.count(); // bands of rows
    for (int y = from; y < trial.to; ++y)
        against += (differing(m_now.rows[size_t(y)], m_held[at + y]) & (trial.used | left)).count();
    const int least = moved(at) ? rowsOfTwoLines : std::clamp((trial.to - from) / 2, fewestLandmarks, rowsOfTwoLines);
    // What stands while a page loads may be little, and a low region shows less.
    return (!moved(at) || size_t(trial.matched) * trial.used.count() >= against) &&
           landmarkRows(at, trial.used, from, trial.to) >= least;
}

std::optional<Trial> Search::tryAt(int at) const
{
    Trial trial;
    Placement &placement = trial.placement;
    // The picture begins with a header, too: what keeps its place proves no movement.
    const int first = std::max(0, m_held.first() - at), fixed = moved(at) ? std::max(m_top, m_known.top) : m_known.top;
    trial.to = comparedTo(at);
    if (first >= trial.to)
        return {};
    trial.used = agreeing(at, std::max(first, moved(at) ? m_top : m_known.top), trial.to);
    if (moved(at) && standing().count() > trial.used.count())
        return {};
    placement.at = at;
    placement.bottom = footer(at, trial.used);
    placement.top = header(at, trial.used, trial.to);

    const Left left = leftBehind(at, trial.used, std::max(first, placement.top), trial.to);
    std::vector<Span> changes = this->changes(at, trial.used, std::max(first, placement.top), trial.to, 1);
    placement.moving = moved(at) ? (m_known.moving | trial.used) & ~left.bands : m_known.moving;
    const bool isTopSettled = settleTop(&trial, &changes, fixed);
    placement.renewed = !changes.empty();
    placement.compared = placement.settled = trial.to;
    if (!changes.empty() && landmarkRows(at, trial.used, changes.back().to, trial.to) < fewestLandmarks)
        placement.settled = changes.back().from;

    int from = std::max({first, placement.top, fixed});
    trial.exact = changes.empty();
    // Before anything has moved, what keeps its place anyway may agree.
    if (!moved(at) && m_known.moving.none() && !trial.exact) {
        from = std::max(from, m_now.height() / headerShare);
        trial.to = std::min(trial.to, m_now.height() - from);
    }
    trial.matched = agreeingRows(trial, changes, from);
    const int half = (trial.to - from) / 2, least = moved(at) || m_known.moving.any() ? leastOverlap() : half;
    if (trial.matched < std::max(1, least))
        return {};
    const bool isWhole = !moved(at) || !left.isStrange || (m_known.looked && outweighs(trial, left.bands, from));
    const bool isForward = m_known.heading != Heading::forward || at >= m_lastAt;
    placement.kind = isTopSettled && isWhole && isForward ? Placement::Kind::found : Placement::Kind::doubtful;
    // What changes without going along is a bar at a side, or speaks against the first movement.
    const bool isTorn = moved(at) && m_known.moving.none() && (m_changed & ~trial.used & ~sides()).any();
    const bool isUnexplained = !trial.exact || trial.strange > 0 || isTorn || (!moved(at) && left.isStrange);
    if (placement.kind == Placement::Kind::found && isUnexplained && !outweighs(trial, {}, from))
        return {};
    return trial;
}

// The places for which most landmarks speak, and the last frame's.
std::vector<int> Search::candidates() const
{
    const int lowest = m_held.first() - m_now.height();
    std::vector<int> votes(size_t(m_held.end() - lowest + 1));
    for (const Landmark &mark : m_marks.inBoth)
        ++votes[size_t(mark.row - mark.y - lowest)];
    std::vector<int> places;
    for (size_t i = 0; i < votes.size(); ++i) {
        if (votes[i] >= fewestLandmarks && int(i) + lowest != m_lastAt)
            places.push_back(int(i) + lowest);
    }
    std::stable_sort(places.begin(), places.end(),
                     [&](int a, int b) { return votes[size_t(a - lowest)] > votes[size_t(b - lowest)]; });
    if (places.size() > mostCandidates)
        places.resize(mostCandidates);
    places.push_back(m_lastAt);
    return places;
}

Placement Search::place() const
{
    std::optional<Trial> best;
    const auto isBetter = [this](const Trial &a, const Trial &b) {
        const auto rank = [this](const Trial &trial) {
            const bool isFound = trial.placement.kind == Placement::Kind::found;
            return std::tuple(isFound, moved(trial.placement.at), trial.matched);
        };
        return rank(a) > rank(b);
    };
    for (const int at : m_changed.any() ? candidates() : std::vector<int>{m_lastAt}) {
        const std::optional<Trial> trial = tryAt(at);
        if (trial && (!best || isBetter(*trial, *best)))
            best = trial;
    }
    const Rivals rivals(*this);
    if (best && !rivals.exist(*best))
        return best->placement;
    Placement none;
    none.kind = best || rivals.fitsSomewhere() ? Placement::Kind::ambiguous : Placement::Kind::lost;
    return none;
}

} // namespace

Placement Placement::find(const HeldRows &held, const Frame &last, int lastAt, const Frame &now, const Known &known)
{
    return Search(held, last, lastAt, now, known).place();
}

} // namespace qm
