#include "helpers/qmscroll/Landmarks.h"

#include <algorithm>

namespace qm {

// The hashes that occur once among the rows of a band, sorted, each with its row in the lower half.
template<typename HashOf>
static std::vector<quint64> onlyOnce(int from, int to, const HashOf &hashOf)
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

Landmarks::Landmarks(const HeldRows &held, const Frame &last, const Frame &now)
{
    for (size_t band = 0; band < bandCount; ++band) {
        const auto inFrame = onlyOnce(0, now.height(), [&](int y) { return now.rows[size_t(y)][band]; });
        const auto inPicture = onlyOnce(held.first(), held.end(), [&](int row) { return held[row][band]; });
        auto there = inPicture.begin();
        for (const quint64 here : inFrame) {
            const int y = int(quint32(here));
            if (last.rows[size_t(y)][band] == now.rows[size_t(y)][band])
                kept.push_back({y, 0, band});
            while (there != inPicture.end() && *there >> 32 < here >> 32)
                ++there;
            if (there != inPicture.end() && *there >> 32 == here >> 32)
                inBoth.push_back({y, int(quint32(*there)), band});
        }
    }
}

} // namespace qm
