#pragma once

#include "helpers/qmscroll/Placement.h"

#include <vector>

namespace qm {

constexpr int fewestLandmarks = 8; // rows that exist only once: one line of small text
constexpr int groupGap = 8;        // rows between two changes that count as one: less than a line of text
constexpr int headerShare = 3;     // a header takes at most one in so many of the frame's rows, and so does a footer

struct Span {
    int from, to; // rows, the latter exclusive
};

// A place that was tried, and what speaks for it.
struct Trial {
    Placement placement;
    Bands used;
    int to = 0;        // the rows of the frame above this one were compared
    int matched = 0;   // rows
    int strange = 0;   // rows at the frame's top that are no part of the page, for all that is known
    bool exact = true; // all below them
};

// A frame and what it is compared with: the rows that are held, and the last frame, which lies at lastAt. For those who look
// for a place; what is given has to outlive it. Any thread.
class Comparison
{
public:
    Comparison(const HeldRows &held, const Frame &last, int lastAt, const Frame &now, const Placement::Known &known);

protected:
    bool moved(int at) const { return at != m_lastAt; }
    int comparedTo(int at) const; // the rows above this one are compared with the held rows
    int leastOverlap() const;     // rows
    // The groups of rows that do not agree, but for so many that are no wider than a caret: one in every line is a column.
    std::vector<Span> changes(int at, const Bands &used, int from, int to, size_t carets) const;

    const HeldRows &m_held;
    const Frame &m_last, &m_now;
    const int m_lastAt;
    const Placement::Known &m_known;
    Bands m_changed;             // differ from the last frame
    int m_top = 0, m_bottom = 0; // the rows that do
};

} // namespace qm
