#pragma once

#include "helpers/qmscroll/RowHashes.h"

#include <optional>

namespace qm {

class HeldRows;

// Remembers what the rows looked like that are no longer held: two bits of each band's hash, four bytes a row. One row
// says little, but a line of text is hardly taken for another. Rows count from the picture's first.
class RowLedger
{
public:
    void add(const RowHash &row) { m_marks.push_back(markOf(row)); }

    // Rows of a frame, from `from` to the exclusive `to`; only these bands are compared.
    struct Part {
        const Frame &frame;
        Bands bands;
        int from, to;
    };

    // The row of the picture that the frame's first row shows; if there are several, the one nearest to `near`. The row
    // under the pointer, a caret or a small mark may look otherwise. std::nullopt if the part is not in the picture.
    // `held` are the rows behind those remembered.
    std::optional<int> find(const Part &part, const HeldRows &held, int near) const;

    // True if the part begins as these very rows of the picture do, for more than a line of text.
    bool beginsAlike(const Part &part, const HeldRows &held) const;

    // True if the part begins with `least` rows that are remembered, and does so nowhere else in its frame.
    bool hasWritten(const Part &part, int least) const;

private:
    static quint32 markOf(const RowHash &row);
    static std::vector<quint32> marksOf(const Part &part);
    std::vector<quint32> withHeld(const HeldRows &held) const;

    std::vector<quint32> m_marks;
};

} // namespace qm
