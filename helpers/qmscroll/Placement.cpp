#include "helpers/qmscroll/Placement.h"

#include "helpers/qmscroll/FrameChange.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qm {

namespace {

constexpr int fewestLandmarks = 8; // rows that exist only once: one line of small text
constexpr int overlapShare = 4;    // one in so many of the moving rows has to agree
constexpr int headerShare = 3;     // a header takes at most one in so many of the frame's rows
constexpr int caretHeight = 48;    // pixels: of a caret or a blinking mark, which is within one band
constexpr int groupGap = 8;        // rows between two changes that count as one: less than a line of text
constexpr int mostCandidates = 6;  // the page, a sidebar, and what content that grew has pushed away; and as many again
constexpr int thumbShare = 2;      // one in so many rows is covered by a thumb, at most

struct Span {
    int from, to;
};

// What exists only once both in the frame and in the held rows.
struct Landmark {
    int y, row;
    size_t band;
};

// The hashes that occur once among the rows of a band, sorted, each with its row in the lower half.
template<typename HashOf>
std::vector<quint64> onlyOnce(int from, int to, const HashOf &hashOf)
{
    std::vector<quint64> all;
    all.reserve(size_t(std::max(0, to - from)));
    for (int row = from; row < to; ++row)
        all.push_back(quint64(hashOf(row)) << 32 | quint32(row));
    std::sort(all.begin(), all.end());
    std::vector<quint64> once;
    for (size_t i = 0; i < all.size(); ++i) {
        const bool asAbove = i > 0 && all[i - 1] >> 32 == all[i] >> 32;
        if (!asAbove && (i + 1 == all.size() || all[i + 1] >> 32 != all[i] >> 32))
            once.push_back(all[i]);
    }
    return once;
}

class Search
{
public:
    Search(const HeldRows &held, const Frame &last, int lastAt, const Frame &now, const Placement::Known &known);
    Placement place() const;

private:
    // A place that was tried, and what speaks for it.
    struct Trial {
        Placement placement;
        Bands used;
        int to = 0;        // the rows of the frame above this one were compared
        int matched = 0;   // rows
        bool exact = true; // all of them
    };

    std::optional<Trial> tryAt(int at) const;
    Bands agreeing(int at, int from, int to) const;
    Bands standing() const;
    struct Left {
        Bands bands;
        bool isStrange = false; // they are more than a thumb
    };
    Left leftBehind(int at, const Bands &used, int from, int to) const;
    bool differsInside(int y, int row) const;
    int header(int at, const Bands &used, int to) const;
    std::vector<Span> changes(int at, const Bands &used, int from, int to) const;
    bool settleTop(Trial *trial, std::vector<Span> *changes, int fixed) const;
    int agreeingRows(const Trial &trial, const std::vector<Span> &changes, int from) const;
    int landmarkRows(int at, const Bands &used, int from, int to) const;
    bool comesFromPage(int at, const Bands &used, const Span &rows) const;
    struct Digests {
        std::vector<quint32> now, held;
    };
    Digests digests(const Bands &bands) const;
    bool hasRival(const Trial &trial) const;
    bool fitsSomewhere() const;
    std::vector<int> candidates() const;
    bool moved(int at) const { return at != m_lastAt; }
    int headerLimit() const { return std::max(m_top, m_now.height() / headerShare); }
    int comparedTo(int at) const;
    int leastOverlap() const;

    const HeldRows &m_held;
    const Frame &m_last, &m_now;
    const int m_lastAt;
    const Placement::Known &m_known;
    Bands m_changed;             // differ from the last frame
    int m_top = 0, m_bottom = 0; // the rows that do
    std::vector<Landmark> m_landmarks;
};

Search::Search(const HeldRows &held, const Frame &last, int lastAt, const Frame &now, const Placement::Known &known)
    : m_held(held)
    , m_last(last)
    , m_now(now)
    , m_lastAt(lastAt)
    , m_known(known)
    , m_top(now.height())
{
    for (int y = 0; y < now.height(); ++y) {
        const Bands bands = differing(now.rows[size_t(y)], last.rows[size_t(y)]);
        if (bands.none())
            continue;
        m_changed |= bands;
        m_top = std::min(m_top, y);
        m_bottom = y + 1;
    }
    for (size_t band = 0; band < bandCount; ++band) {
        const auto inFrame = onlyOnce(0, now.height(), [&](int y) { return now.rows[size_t(y)][band]; });
        const auto inPicture = onlyOnce(held.first(), held.end(), [&](int row) { return held[row][band]; });
        auto there = inPicture.begin();
        for (const quint64 here : inFrame) {
            while (there != inPicture.end() && *there >> 32 < here >> 32)
                ++there;
            if (there != inPicture.end() && *there >> 32 == here >> 32)
                m_landmarks.push_back({int(quint32(here)), int(quint32(*there)), band});
        }
    }
}

// The held rows end with what keeps its place at the bottom of a frame, and so does the frame.
int Search::comparedTo(int at) const
{
    const int bottom = moved(at) ? m_bottom : m_known.bottom;
    return std::min(bottom, m_held.end() - (m_now.height() - bottom) - at);
}

int Search::leastOverlap() const
{
    const int moving = m_known.moving.any() || m_changed.none() ? m_known.bottom - m_known.top : m_bottom - m_top;
    return moving / overlapShare;
}

// The columns that agree with the place. Left out are those of which the far greater part does not, and at the sides, where
// scroll bars are, those of which anything does not.
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
    const size_t side = size_t(std::min(sideWidth * bandCount / m_now.image.width(), bandCount / 8 - 1)) + 1;
    Bands used;
    for (size_t band = 0; band < bandCount; ++band) {
        const bool isSide = band < side || band >= bandCount - side;
        used[band] = eligible[band] && disagree[band] <= (isSide ? 0 : 4 * agree[band]);
    }
    // If hardly any column agrees it is the rows that have changed.
    const size_t fewest = moved(at) ? std::max<size_t>(1, eligible.count() / 4) : (eligible.count() + 1) / 2;
    return used.count() >= fewest ? used : eligible;
}

// The rows at the top that do not move along: the lowest that shows what the last frame showed there, and not the page.
int Search::header(int at, const Bands &used, int to) const
{
    if (!moved(at))
        return m_known.top;
    int end = 0, kept = 0;
    for (int y = std::max(0, m_held.first() - at); y < std::min(headerLimit(), to); ++y) {
        const RowHash &here = m_now.rows[size_t(y)];
        if ((differing(here, m_last.rows[size_t(y)]) & used).any())
            continue;
        ++kept;
        const bool agrees = (differing(here, m_held[at + y]) & used).none();
        // A plain row by itself may be there by chance.
        const bool isMark = y < m_top || y == end || (differing(here, m_now.rows[size_t(y - 1)]) & used).any();
        if (!agrees && isMark && 4 * kept >= 3 * (y + 1))
            end = y + 1;
    }
    return end;
}

// The groups of rows that do not agree, wider than a caret.
std::vector<Span> Search::changes(int at, const Bands &used, int from, int to) const
{
    std::vector<Span> groups;
    std::vector<Bands> bands; // of each
    for (int y = from; y < to; ++y) {
        const Bands here = differing(m_now.rows[size_t(y)], m_held[at + y]) & used;
        if (here.none())
            continue;
        if (groups.empty() || y - groups.back().to > groupGap) {
            groups.push_back({y, y});
            bands.emplace_back();
        }
        groups.back().to = y + 1;
        bands.back() |= here;
    }
    size_t kept = 0;
    for (size_t i = 0; i < groups.size(); ++i) {
        if (bands[i].count() > 1 || groups[i].to - groups[i].from > caretHeight)
            groups[kept++] = groups[i];
    }
    groups.resize(kept);
    return groups;
}

int Search::landmarkRows(int at, const Bands &used, int from, int to) const
{
    std::vector<bool> rows(size_t(m_now.height()));
    for (const Landmark &mark : m_landmarks) {
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
    for (const Landmark &mark : m_landmarks)
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
        const bool belongsToFrame =
            comesFromPage(placement.at, trial->used, top) || (m_known.looked && top.to <= m_now.height() / 2);
        if (!belongsToFrame)
            return false;
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
        if (landmarkRows(trial.placement.at, trial.used, from, to) >= fewestLandmarks)
            rows += to - from;
    };
    for (const Span &change : changes) {
        add(change.from);
        from = change.to;
    }
    add(trial.to);
    return rows;
}

std::optional<Search::Trial> Search::tryAt(int at) const
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
    placement.bottom = moved(at) ? m_bottom : m_known.bottom;
    placement.top = header(at, trial.used, trial.to);

    const Left left = leftBehind(at, trial.used, std::max(first, placement.top), trial.to);
    std::vector<Span> changes = this->changes(at, trial.used, std::max(first, placement.top), trial.to);
    const bool isCertain = settleTop(&trial, &changes, fixed) && (!moved(at) || !left.isStrange || m_known.looked) &&
                           (m_known.heading != Heading::forward || at >= m_lastAt);
    placement.kind = isCertain ? Placement::Kind::found : Placement::Kind::doubtful;
    placement.moving = moved(at) ? (m_known.moving | trial.used) & ~left.bands : m_known.moving;
    placement.renewed = !changes.empty();
    placement.compared = placement.settled = trial.to;
    if (!changes.empty() && landmarkRows(at, trial.used, changes.back().to, trial.to) < fewestLandmarks)
        placement.settled = changes.back().from;

    const int from = std::max({first, placement.top, fixed});
    trial.exact = changes.empty();
    trial.matched = agreeingRows(trial, changes, from);
    // Before anything has moved, what keeps its place anyway may agree.
    const bool mayBeFixed = !moved(at) && m_known.moving.none();
    const int least = mayBeFixed ? (trial.to - from) / 2 : leastOverlap();
    return trial.matched >= std::max(1, least) ? std::optional(trial) : std::nullopt;
}

// One hash of each row over some of its bands.
Search::Digests Search::digests(const Bands &bands) const
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

// True if another place explains the frame as well. One that leaves rows unexplained is no rival of one that explains these
// very rows: had they changed by themselves, they would fit nowhere.
bool Search::hasRival(const Trial &trial) const
{
    const Digests rows = digests(trial.used);
    const auto marks = [&](int at, int from, int to) { // rows that agree and differ from the one above
        int count = 0;
        for (int y = std::max(from, 1); y < to; ++y)
            count += rows.now[size_t(y)] == rows.held[size_t(at + y - m_held.first())] &&
                     rows.now[size_t(y)] != rows.now[size_t(y - 1)];
        return count;
    };
    const int top = trial.placement.top;
    const int own = marks(trial.placement.at, std::max(top, m_held.first() - trial.placement.at), trial.to);
    const int furthest = m_held.end() - fewestLandmarks;
    for (int at = m_held.first() - m_now.height() + fewestLandmarks; at < furthest; ++at) {
        const int from = std::max(top, m_held.first() - at), to = comparedTo(at);
        const int allowed = (to - from) / 5;
        int differ = at == trial.placement.at || from >= to ? allowed + 1 : 0;
        for (int y = from; y < to && differ <= allowed; ++y) {
            const bool same = rows.now[size_t(y)] == rows.held[size_t(at + y - m_held.first())];
            differ += same ? 0 : trial.exact && y < trial.to ? allowed + 1 : 1;
        }
        if (differ <= allowed) {
            if (const int found = marks(at, from, to); found >= 2 && 4 * found >= own)
                return true;
        }
    }
    return false;
}

// True if the frame agrees with the held rows somewhere, sides left out; then it shows too little to tell it by.
bool Search::fitsSomewhere() const
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

// The places for which most landmarks speak, and the last frame's.
std::vector<int> Search::candidates() const
{
    const int lowest = m_held.first() - m_now.height();
    std::vector<int> votes(size_t(m_held.end() - lowest + 1));
    for (const Landmark &mark : m_landmarks)
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
    if (best && !hasRival(*best))
        return best->placement;
    Placement none;
    none.kind = best || fitsSomewhere() ? Placement::Kind::ambiguous : Placement::Kind::lost;
    return none;
}

} // namespace

Placement Placement::find(const HeldRows &held, const Frame &last, int lastAt, const Frame &now, const Known &known)
{
    return Search(held, last, lastAt, now, known).place();
}

} // namespace qm
