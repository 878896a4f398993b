#include "imaging/PngKernels.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace qm {

namespace {

enum Filter { noFilter, subFilter, upFilter, averageFilter, paethFilter };

int paeth(int left, int above, int corner)
{
    const int toLeft = std::abs(above - corner);
    const int toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    if (toLeft <= toAbove && toLeft <= toCorner)
        return left;
    return toAbove <= toCorner ? above : corner;
}

template<int Channels>
void unfilterRow(int filter, uchar *row, const uchar *above, int bytes)
{
    switch (filter) {
    case subFilter:
        for (int i = Channels; i < bytes; ++i)
            row[i] = uchar(row[i] + row[i - Channels]);
        break;
    case upFilter:
        for (int i = 0; i < bytes; ++i)
            row[i] = uchar(row[i] + above[i]);
        break;
    case averageFilter:
        for (int i = 0; i < Channels; ++i)
            row[i] = uchar(row[i] + above[i] / 2);
        for (int i = Channels; i < bytes; ++i)
            row[i] = uchar(row[i] + (row[i - Channels] + above[i]) / 2);
        break;
    case paethFilter:
        for (int i = 0; i < Channels; ++i)
            row[i] = uchar(row[i] + above[i]);
        for (int i = Channels; i < bytes; ++i)
            row[i] = uchar(row[i] + paeth(row[i - Channels], above[i], above[i - Channels]));
        break;
    default: break;
    }
}

void unfilter(int filter, uchar *row, const uchar *above, int bytes, int channels)
{
    channels == 3 ? unfilterRow<3>(filter, row, above, bytes) : unfilterRow<4>(filter, row, above, bytes);
}

int residual(Filter filter, const uchar *row, const uchar *above, int i, int channels)
{
    switch (filter) {
    case subFilter: return row[i] - row[i - channels];
    case upFilter: return row[i] - above[i];
    default: return row[i] - paeth(row[i - channels], above[i], above[i - channels]);
    }
}

void filter(uchar *out, const uchar *row, const uchar *above, int bytes, int channels)
{
    Filter best = upFilter;
    quint64 least = ~quint64(0);
    for (const Filter candidate : {upFilter, subFilter, paethFilter}) {
        quint64 sum = 0;
        for (int i = 0; i < bytes; ++i)
            sum += quint64(std::abs(int(qint8(residual(candidate, row, above, i, channels)))));
        if (sum < least) {
            least = sum;
            best = candidate;
        }
        if (least == 0)
            break;
    }
    *out++ = uchar(best);
    for (int i = 0; i < bytes; ++i)
        out[i] = uchar(residual(best, row, above, i, channels));
}

void unpack(quint32 *words, const uchar *packed, int pixels, int channels)
{
    for (int i = 0; i < pixels; ++i, packed += channels) {
        const quint32 alpha = channels == 4 ? packed[3] : 0xff;
        words[i] = alpha << 24 | quint32(packed[0]) << 16 | quint32(packed[1]) << 8 | packed[2];
    }
}

void pack(uchar *packed, const quint32 *words, int pixels, int channels)
{
    for (int i = 0; i < pixels; ++i, packed += channels) {
        packed[0] = uchar(words[i] >> 16);
        packed[1] = uchar(words[i] >> 8);
        packed[2] = uchar(words[i]);
        if (channels == 4)
            packed[3] = uchar(words[i] >> 24);
    }
}

bool opaqueWords(const quint32 *words, int pixels)
{
    quint32 all = 0xff000000u;
    for (int i = 0; i < pixels; ++i)
        all &= words[i];
    return all == 0xff000000u;
}

void accumulate(quint16 *sums, const uchar *row, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        sums[i] = quint16(sums[i] + row[i]);
}

bool opaquePacked(const uchar *packed, int pixels)
{
    uchar all = 0xff;
    for (int i = 0; i < pixels; ++i)
        all &= packed[4 * i + 3];
    return all == 0xff;
}

constexpr PngKernels portableKernels{&unfilter, &filter, &unpack, &pack, &opaqueWords, &accumulate, &opaquePacked};

std::atomic<const PngKernels *> chosen{nullptr};

} // namespace

const PngKernels &PngKernels::portable()
{
    return portableKernels;
}

const PngKernels &PngKernels::best()
{
    const PngKernels *kernels = chosen.load(std::memory_order_relaxed);
    if (!kernels) {
        kernels = avx2() ? avx2() : &portableKernels;
        chosen.store(kernels, std::memory_order_relaxed);
    }
    return *kernels;
}

void PngKernels::use(const PngKernels *kernels)
{
    chosen.store(kernels, std::memory_order_relaxed);
}

} // namespace qm
