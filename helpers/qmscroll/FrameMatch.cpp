#include "helpers/qmscroll/FrameMatch.h"

#include "helpers/qmscroll/PixelRows.h"
#include "helpers/qmscroll/ShiftSearch.h"

#include <algorithm>

namespace qm {

namespace {

using Fit = ShiftSearch::Fit;
using Leave = ShiftSearch::Leave;

// Equal; with noise; with text rendered differently, at a scroll position between two pixels.
struct Tolerance {
    int levels;          // grey levels, per channel
    double largestError; // of an acceptable shift
    double rivalError;   // a shift with more than this times the best error is no rival
};
constexpr Tolerance tolerances[] = {{0, 0, 1}, {6, 1e9, 1.25}, {64, 0.35, 2}};

constexpr int fewestChanges = 6; // rows that differ from the one below, required to trust a shift or stillness
constexpr int fewestRows = 24;
constexpr int lowRegion = 200; // rows
// A shift that explains less than one in rivalChanges of the best one's changes, and less than one in rivalRows of its
// rows, is no rival.
constexpr int rivalChanges = 4, rivalRows = 3;

struct Verdict {
    enum class Kind { none, tooLittle, several, one } kind = Kind::none;
    Fit fit;
};

// A shift that leaves nothing unexplained refutes one that does, if it explains the very rows that the other takes for
// a caret or the like: had those changed by themselves, they would fit nowhere. Beyond its own rows it proves nothing.
bool refutes(const Fit &whole, const Fit &other, const QRect &part)
{
    if (!whole.whole || whole.unmatched > 0 || whole.error > 0)
        return false;
    // True if most of these rows of `now` lie in what the shift explains; for rows of `before`, with the shift negated.
    const auto covered = [&](int from, int rows, int shift) {
        const int first = std::max(from, part.top() + std::max(0, -shift));
        const int end = std::min(from + rows, part.bottom() + 1 - std::max(0, shift));
        return 2 * (end - first) > rows;
    };
    return std::any_of(other.open.begin(), other.open.end(), [&](const ShiftSearch::Group &group) {
        return covered(group.from, group.rows, whole.shift) &&
               covered(group.from + other.shift, group.rows, -whole.shift);
    });
}

// Decides whether one of the shifts stands alone. If frames are not exactly equal, several shifts may be within the
// tolerance; the best then counts if it explains far more.
Verdict judge(std::vector<Fit> fits, const Tolerance &tolerance, const QRect &part, int frameHeight)
{
    const bool dull = std::any_of(fits.begin(), fits.end(), [frameHeight](const Fit &fit) {
        return fit.changes < 2 && fit.unmatched == 0 && fit.matched > frameHeight / 2;
    });
    std::erase_if(fits, [&](const Fit &fit) { return fit.changes < 2 || fit.error > tolerance.largestError; });
    if (fits.empty())
        return {dull ? Verdict::Kind::tooLittle : Verdict::Kind::none, {}};
    const auto best = std::max_element(fits.begin(), fits.end(), [](const Fit &a, const Fit &b) {
        return a.error != b.error ? a.error > b.error : a.changes < b.changes;
    });
    const bool clear = best->whole && best->unmatched == 0;
    const auto compares = [&best](const Fit &fit) {
        return rivalChanges * fit.changes >= best->changes || rivalRows * fit.matched >= best->matched;
    };
    for (auto fit = fits.begin(); fit != fits.end(); ++fit) {
        if (fit != best && compares(*fit) && fit->error <= tolerance.rivalError * best->error &&
            !refutes(*best, *fit, part))
            return {Verdict::Kind::several, *best};
    }
    // The less the frames overlap, the more of the overlap must be unique. Low regions show so few lines that some of
    // them soon recur.
    const bool low = frameHeight < lowRegion;
    const int sixths = 6 * best->matched / part.height();
    const int distinct = std::max(1, 5 - sixths) + (clear ? 0 : 2) + (low ? 2 : 0);
    const bool enough = best->changes >= fewestChanges && best->distinct >= distinct && best->matched >= fewestRows &&
                        sixths >= (clear ? 2 : 4) && (clear || !low);
    return {enough ? Verdict::Kind::one : Verdict::Kind::tooLittle, *best};
}

// Finds the shift of the changed part: first one that explains everything, then ones that leave more unexplained.
Verdict search(const ShiftSearch &shifts, const Tolerance &tolerance, const QRect &part, int frameHeight)
{
    std::vector<Fit> all;
    Verdict verdict;
    for (const Leave leave : {Leave::nothing, Leave::sides, Leave::ends, Leave::sidesAndEnds}) {
        for (const Fit &fit : shifts.fits(leave)) {
            const auto known =
                std::find_if(all.begin(), all.end(), [&fit](const Fit &other) { return other.shift == fit.shift; });
            if (known == all.end())
                all.push_back(fit);
            else if (fit.whole && fit.unmatched < known->unmatched)
                *known = fit; // only a scroll bar spoke against it
        }
        verdict = judge(all, tolerance, part, frameHeight);
        // A shift that leaves rows unexplained may only be the best so far.
        const bool clear = verdict.kind == Verdict::Kind::one && verdict.fit.unmatched == 0;
        if (clear || verdict.kind == Verdict::Kind::several)
            break;
    }
    return verdict;
}

// True if the frames are equal except for what may change without scrolling: a caret, a small animation, a scroll bar.
bool hardlyChanged(const QImage &before, const QImage &now, const QRect &part, const QRect &moving, int tolerance)
{
    const int width = now.width(), side = std::min(48, width / 8);
    if (part.width() <= side && (part.left() < side || part.right() + 1 > width - side))
        return true;
    const auto rowsDiffer = [&](int y) {
        return PixelRows::differ(PixelRows::at(before, y), PixelRows::at(now, y), width, tolerance);
    };
    const int allowed = now.height() / 6;
    std::vector<QRect> groups;
    int rows = 0;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        if (!rowsDiffer(y))
            continue;
        int last = y;
        for (int row = y + 1; row <= std::min(part.bottom(), last + 8) && row - y <= allowed; ++row)
            last = rowsDiffer(row) ? row : last;
        groups.push_back(QRect(0, y, width, last + 1 - y));
        rows += groups.back().height();
        y = last;
        if (groups.size() > 3 || rows > allowed)
            return false;
    }
    const RowSignatures signatures(now, moving.left(), moving.right() + 1, 0);
    int changes = 0;
    for (const QRect &group : groups) {
        changes += signatures.changes(std::max(0, group.top() - 1), group.bottom() + 1);
        // One or two may be highlighted over their whole width, like list rows under the pointer.
        if (groups.size() > 2 &&
            PixelRows::changedPart(before.copy(group), now.copy(group), tolerance).width() > width / 3)
            return false;
    }
    return 5 * changes <= signatures.changes(moving.top(), moving.bottom());
}

FrameMatch moved(const Fit &fit, const QRect &part)
{
    FrameMatch match;
    match.kind = FrameMatch::Kind::moved;
    match.shift = fit.shift;
    match.splice = fit.to + std::max(0, fit.shift);
    match.part = part;
    return match;
}

// True if the small differences go up and down at random, like noise, rather than all one way, like a gradient that
// moved.
bool isNoise(const QImage &before, const QImage &now)
{
    PixelRows::Differences differences;
    for (int y = 0; y < now.height(); ++y)
        differences.add(PixelRows::at(before, y), PixelRows::at(now, y), now.width());
    return !differences.oneWay();
}

FrameMatch only(FrameMatch::Kind kind)
{
    FrameMatch match;
    match.kind = kind;
    return match;
}

// Nothing changed: it did not move if no other shift would look the same.
FrameMatch::Kind stillness(const QImage &before, const QImage &now, const QRect &moving, int tolerance)
{
    // Faint content that moved hardly changes any pixel.
    if (tolerance > 0 && !(tolerance == tolerances[1].levels && isNoise(before, now)))
        return FrameMatch::Kind::ambiguous;
    const ShiftSearch shifts(before, now, moving, tolerance);
    const int changes = shifts.changes();
    if (changes < fewestChanges)
        return FrameMatch::Kind::ambiguous;
    for (const Leave leave : {Leave::nothing, Leave::sides}) {
        for (const Fit &fit : shifts.fits(leave)) {
            if (fit.changes >= std::max(2, changes / rivalChanges))
                return FrameMatch::Kind::ambiguous;
        }
    }
    return FrameMatch::Kind::still;
}

} // namespace

FrameMatch FrameMatch::find(const QImage &before, const QImage &now, const QRect &moving)
{
    bool several = false;
    for (const Tolerance &tolerance : tolerances) {
        const QRect part = PixelRows::changedPart(before, now, tolerance.levels);
        if (part.isNull())
            return only(stillness(before, now, moving, tolerance.levels));
        const ShiftSearch shifts(before, now, part, tolerance.levels);
        const Verdict verdict = search(shifts, tolerance, part, now.height());
        const bool small = hardlyChanged(before, now, part, moving, tolerance.levels);
        if (!small && verdict.kind == Verdict::Kind::one)
            return moved(verdict.fit, part);
        if (verdict.kind == Verdict::Kind::several)
            return only(Kind::ambiguous);
        if (small) {
            // Either something small changed on a still page, or the page moved and shows nothing else.
            if (verdict.kind == Verdict::Kind::none)
                return only(stillness(before, now, moving, tolerance.levels));
            const RowSignatures rows(now, 0, now.width(), 0);
            const int outside = rows.changes(0, part.top()) + rows.changes(part.bottom() + 1, now.height());
            const bool alone = verdict.kind == Verdict::Kind::one && verdict.fit.unmatched == 0;
            return alone && outside < verdict.fit.changes ? moved(verdict.fit, part) : only(Kind::ambiguous);
        }
        if (verdict.kind == Verdict::Kind::tooLittle && 3 * verdict.fit.matched >= part.height())
            return only(Kind::ambiguous);
        several = several || verdict.kind == Verdict::Kind::tooLittle;
    }
    return only(several ? Kind::ambiguous : Kind::lost);
}

} // namespace qm
