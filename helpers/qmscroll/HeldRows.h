#pragma once

#include "helpers/qmscroll/RowHashes.h"

namespace qm {

// The picture's rows that may still be replaced: its last ones. Rows count from the picture's first.
class HeldRows
{
public:
    explicit HeldRows(int width); // pixels

    int first() const { return m_first; }
    int end() const { return m_first + int(m_hashes.size()); }
    const RowHash &operator[](int row) const { return m_hashes[size_t(row - m_first)]; }

    // Takes the rows from `from` to the exclusive `to` of a frame whose first row is the picture's row `at`, over what is
    // held or behind it. Rows above the first that is held are passed over. No gap: at + from <= end().
    void take(const Frame &frame, int at, int from, int to);

    void cut(int end);    // drops the rows from there on
    void drop(int first); // and those above it

    // These rows; they share memory with this object and are valid until it changes.
    QImage pixels(int from, int to) const;

private:
    const int m_width;
    int m_first = 0;
    std::vector<quint32> m_pixels;
    std::vector<RowHash> m_hashes;
};

} // namespace qm
