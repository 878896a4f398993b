#include "imaging/PngKernels.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace qm {

namespace {

enum : int { noFilter, subFilter, upFilter, averageFilter, paethFilter };

int paeth(int left, int above, int corner)
{
    const int toLeft = std::abs(above - corner);
    const int toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    if (toLeft <= toAbove && toLeft <= toCorner)
        return left;
    return toAbove <= toCorner ? above : corner;
}

void unfilter(int filter, uchar *row, const uchar *filtered, const uchar *above, int bytes, int channels)
{
    for (int i = 0; i < bytes; ++i) {
        const int left = i < channels ? 0 : row[i - channels], corner = i < channels ? 0 : above[i - channels];
        switch (filter) {
        case subFilter: row[i] = uchar(filtered[i] + left); break;
        case upFilter: row[i] = uchar(filtered[i] + above[i]); break;
        case averageFilter: row[i] = uchar(filtered[i] + (left + above[i]) / 2); break;
        case paethFilter: row[i] = uchar(filtered[i] + paeth(left, above[i], corner)); break;
        default: row[i] = filtered[i];
        }
    }
}

uchar residual(int filter, const uchar *row, const uchar *above, int i, int channels)
{
    switch (filter) {
    case subFilter: return uchar(row[i] - row[i - channels]);
    case upFilter: return uchar(row[i] - above[i]);
    case averageFilter: return uchar(row[i] - (row[i - channels] + above[i]) / 2);
    case paethFilter: return uchar(row[i] - paeth(row[i - channels], above[i], above[i - channels]));
    default: return row[i];
    }
}

void filter(int filter, uchar *out, const uchar *row, const uchar *above, int bytes, int channels)
{
    for (int i = 0; i < bytes; ++i)
        out[i] = residual(filter, row, above, i, channels);
}

PngKernels::Residuals measure(int filter, const uchar *const *rows, int count, int bytes, int channels)
{
    constexpr int block = PngKernels::sampledBlock;
    PngKernels::Residuals found;
    for (int start = 0; start < bytes; start += PngKernels::sampledStep) {
        const int size = std::min(block, bytes - start);
        uchar residuals[2][4 + block] = {};
        std::memcpy(residuals[0] + 4, rows[0] + start, size_t(size));
        for (int k = 1; k <= count; ++k) {
            uchar *here = residuals[k & 1] + 4;
            const uchar *before = residuals[~k & 1] + 4;
            bool repeated = false;
            for (int i = 0; i < size; ++i) {
                here[i] = residual(filter, rows[k] + start, rows[k - 1] + start, i, channels);
                const bool repeats = here[i] == here[i - 1] || here[i] == here[i - channels] ||
                                     ((k > 1 || filter == noFilter) && here[i] == before[i]);
                found.literals += !repeats;
                found.changes += repeats != repeated;
                found.amount += i < size / 32 * 32 ? quint64(std::abs(int(qint8(here[i])))) : 0;
                repeated = repeats;
            }
            found.sampled += quint64(size);
        }
    }
    return found;
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

void accumulate(quint16 *sums, const uchar *row, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        sums[i] = quint16(sums[i] + row[i]);
}

constexpr PngKernels portableKernels{&unfilter, &measure, &filter, &unpack, &pack, &accumulate};

std::atomic<const PngKernels *> chosen{nullptr};

} // namespace

int PngKernels::chooseFilter(const uchar *const *rows, int count, int bytes, int channels) const
{
    constexpr int few = 8; // if fewer than one in so many bytes is left, other filters are not worth a look
    const auto cost = [](const Residuals &left) { return left.literals + left.changes; };
    int best = upFilter;
    Residuals least = measure(upFilter, rows, count, bytes, channels);
    for (const int candidate : {noFilter, subFilter, paethFilter}) { // Average never produces repetitions
        if (candidate != noFilter && cost(least) * few < least.sampled)
            break;
        const Residuals left = measure(candidate, rows, count, bytes, channels);
        if (cost(left) < cost(least)) {
            best = candidate;
            least = left;
        }
    }
    if (least.literals * 3 < least.sampled * 2)
        return best;
    quint64 smallest = std::numeric_limits<quint64>::max();
    for (const int candidate : {subFilter, upFilter, averageFilter, paethFilter}) {
        const quint64 amount = measure(candidate, rows, count, bytes, channels).amount;
        if (amount < smallest) {
            best = candidate;
            smallest = amount;
        }
    }
    return best;
}

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
