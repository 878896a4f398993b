#include "helpers/qmscroll/PixelRows.h"

namespace qm {

static constexpr quint32 colour = 0x00ffffff;
static constexpr int block = 64; // pixels compared before stopping early

static bool equalBlock(const quint32 *a, const quint32 *b, int count)
{
    quint32 bits = 0;
    for (int x = 0; x < count; ++x)
        bits |= a[x] ^ b[x];
    return (bits & colour) == 0;
}

static int largestDifference(const quint32 *a, const quint32 *b, int count)
{
    quint32 left[block], right[block];
    for (int x = 0; x < count; ++x) {
        left[x] = a[x] & colour;
        right[x] = b[x] & colour;
    }
    const auto *leftBytes = reinterpret_cast<const uchar *>(left), *rightBytes = reinterpret_cast<const uchar *>(right);
    uchar largest = 0;
    for (int i = 0; i < 4 * count; ++i) {
        const uchar high = qMax(leftBytes[i], rightBytes[i]), low = qMin(leftBytes[i], rightBytes[i]);
        largest = qMax(largest, uchar(high - low));
    }
    return largest;
}

bool PixelRows::differ(const quint32 *a, const quint32 *b, int count, int tolerance)
{
    for (int x = 0; x < count; x += block) {
        const int size = qMin(block, count - x);
        if (!equalBlock(a + x, b + x, size) && (tolerance == 0 || largestDifference(a + x, b + x, size) > tolerance))
            return true;
    }
    return false;
}

void PixelRows::Differences::add(const quint32 *a, const quint32 *b, int count)
{
    for (int x = 0; x < count; ++x) {
        for (int shift = 0; shift < 24; shift += 8) {
            const int difference = int(a[x] >> shift & 0xff) - int(b[x] >> shift & 0xff);
            energy += quint64(difference * difference);
            amount += quint64(std::abs(difference));
            drift += difference;
        }
    }
}

QRect PixelRows::changedPart(const QImage &a, const QImage &b, int tolerance)
{
    const int width = a.width();
    const auto differs = [&](int y, int from, int to) {
        return differ(at(a, y) + from, at(b, y) + from, to - from, tolerance);
    };
    int top = 0, bottom = a.height();
    while (top < bottom && !differs(top, 0, width))
        ++top;
    while (bottom > top && !differs(bottom - 1, 0, width))
        --bottom;
    if (top == bottom)
        return {};
    int left = width, right = 0;
    for (int y = top; y < bottom; ++y) {
        // Only look at what could widen the part.
        if (left > 0 && differs(y, 0, left)) {
            int x = 0;
            while (!differs(y, x, x + 1))
                ++x;
            left = x;
        }
        if (right < width && differs(y, right, width)) {
            int x = width;
            while (!differs(y, x - 1, x))
                --x;
            right = x;
        }
    }
    return QRect(left, top, right - left, bottom - top);
}

} // namespace qm
