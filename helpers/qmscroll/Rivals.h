#pragma once

#include "helpers/qmscroll/Comparison.h"

namespace qm {

// Whether what a frame shows could lie somewhere else as well.
class Rivals : private Comparison
{
public:
    explicit Rivals(const Comparison &comparison)
        : Comparison(comparison)
    {
    }

    // True if another place explains the frame as well. One that leaves rows unexplained is no rival of one that explains
    // these very rows: had they changed by themselves, they would fit nowhere.
    bool exist(const Trial &trial) const;

    // True if the frame agrees with the held rows somewhere, sides left out; then it shows too little to tell it by.
    bool fitsSomewhere() const;

private:
    struct Digests {
        std::vector<quint32> now, held;
    };
    Digests digests(const Bands &bands) const;
    Span between(const Bands &bands) const;
    int litRows(int at, int y, int to, const Bands &used) const;
    bool explainsToo(int at, const Span &span, const Trial &trial, int first, const Digests &rows) const;
};

} // namespace qm
