#pragma once

#include "helpers/qmscroll/RowSignatures.h"

#include <QImage>
#include <QRect>

#include <optional>
#include <vector>

namespace qm {

// Finds the shifts that align the changed part of one frame with another, at one tolerance. Exhaustive: every shift is
// tried on the row signatures, the survivors on the pixels. Rows and shifts in pixels.
class ShiftSearch
{
public:
    // Differences a shift may leave unexplained, besides up to three short groups of rows (a caret, an animation, a row
    // highlighted under the pointer).
    enum class Leave {
        nothing,
        sides,        // the outermost columns: scroll bars
        ends,         // rows at the top and bottom: a header that becomes sticky, a footer that changes
        sidesAndEnds, // both
    };

    static constexpr int mostDistinct = 8;

    struct Group {
        int from, rows;
    };

    // A shift that fits. Rows are those of the frame that shows the content higher up: `now` for a positive shift.
    struct Fit {
        int shift = 0;
        int matched = 0;         // rows
        int changes = 0;         // matched rows that differ from the one below: evidence for the shift
        int distinct = 0;        // blocks of matched rows unique in both frames, at most mostDistinct per stretch
        int unmatched = 0;       // rows in the groups left unexplained
        std::vector<Group> open; // those groups, as rows of `now`
        bool whole = true;       // no rows were left out at the ends
        int left = 0, right = 0;
        int from = 0, to = 0; // the longest stretch of matched rows
        double error = 0;     // energy of the differences, relative to that between neighbouring rows
    };

    ShiftSearch(const QImage &before, const QImage &now, const QRect &part, int tolerance);

    std::vector<Fit> fits(Leave leave) const;
    int changes() const; // of all rows of the part in `now`

private:
    struct Span {
        int from, to;
    };
    struct Pair {
        const QImage &upper, &lower; // lower row y shows the same as upper row y + shift
        const RowSignatures &upperRows, &lowerRows;
        int shift;
    };
    struct Run {
        int from, to;
        std::vector<Span> groups;
    };

    std::vector<int> candidates(bool leaveEnds) const;
    std::optional<Fit> verify(int shift, Leave leave) const;
    std::optional<Run> run(const Pair &pair, int left, int right, bool leaveEnds) const;
    int distinctBlocks(const Pair &pair, int from, int to) const;
    std::optional<double> error(const Pair &pair, const Fit &fit, const Run &run) const;
    bool rowsDiffer(const Pair &pair, int y, int left, int right) const;
    Pair pairFor(int shift) const;
    int leastOverlap() const;

    const QImage &m_before, &m_now;
    const QRect m_part;
    const int m_tolerance;
    const int m_side; // width ignored at each side by Leave::sides
    const RowSignatures m_rowsBefore, m_rowsNow;
};

} // namespace qm
