#include "helpers/qmscroll/RowHashes.h"

#include <cstring>

namespace qm {

// Multiplies and folds, as in Fowler, Noll and Vo's hash, but two pixels at a time.
static quint32 hash(const quint32 *pixels, int count)
{
    constexpr quint64 colours = 0x00ffffff00ffffff;
    constexpr quint64 factor = 0x9e3779b97f4a7c15; // odd, with well mixed bits
    quint64 state = quint64(count);
    const auto add = [&state](quint64 two) {
        state = (state ^ (two & colours)) * factor;
        state ^= state >> 32;
    };
    int x = 0;
    for (; x + 2 <= count; x += 2) {
        quint64 two;
        std::memcpy(&two, pixels + x, sizeof two);
        add(two);
    }
    if (x < count)
        add(pixels[x]);
    return quint32(state);
}

std::vector<RowHash> hashRows(const QImage &image)
{
    std::vector<RowHash> rows{size_t(image.height())};
    for (int y = 0; y < image.height(); ++y) {
        const auto *pixels = reinterpret_cast<const quint32 *>(image.constScanLine(y));
        for (size_t band = 0; band < bandCount; ++band) {
            const size_t from = columnOf(band, image.width()), to = columnOf(band + 1, image.width());
            rows[size_t(y)][band] = hash(pixels + from, int(to - from));
        }
    }
    return rows;
}

} // namespace qm
