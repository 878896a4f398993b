#include "helpers/qmscroll/Comparison.h"

#include <algorithm>

namespace qm {

namespace {

constexpr int overlapShare = 4; // one in so many of the moving rows has to agree
constexpr int caretHeight = 48; // pixels: of a caret or a blinking mark, which is within one band

} // namespace

Comparison::Comparison(const HeldRows &held, const Frame &last, int lastAt, const Frame &now,
                       const Placement::Known &known)
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
}

// The held rows end with what keeps its place at the bottom of a frame, and so does the frame.
int Comparison::comparedTo(int at) const
{
    const int bottom = moved(at) ? m_bottom : m_known.bottom;
    return std::min(bottom, m_held.end() - (m_now.height() - bottom) - at);
}

int Comparison::leastOverlap() const
{
    return std::max(m_known.moving.any() ? m_known.bottom - m_known.top : 0, m_bottom - m_top) / overlapShare;
}

std::vector<Span> Comparison::changes(int at, const Bands &used, int from, int to, size_t carets) const
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
    std::vector<Span> wide;
    for (size_t i = 0; i < groups.size(); ++i) {
        if (bands[i].count() > 1 || groups[i].to - groups[i].from > caretHeight)
            wide.push_back(groups[i]);
    }
    return groups.size() - wide.size() <= carets ? wide : groups;
}

} // namespace qm
