#include "imaging/PngKernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#include <cstring>

// The file is built for any x86-64; only these functions use AVX2, and they are only called on processors that have it.
#define QM_AVX2 __attribute__((target("avx2,popcnt")))

namespace qm {

namespace {

enum : int { noFilter, subFilter, upFilter, averageFilter, paethFilter };

// Always four bytes: copying three would go through memory and wait for it.
QM_AVX2 inline __m128i loadPixel(const uchar *at)
{
    qint32 pixel;
    std::memcpy(&pixel, at, 4);
    return _mm_cvtsi32_si128(pixel);
}

QM_AVX2 inline void storePixel(uchar *at, __m128i value)
{
    const int pixel = _mm_cvtsi128_si32(value);
    std::memcpy(at, &pixel, 4);
}

QM_AVX2 inline __m256i load32(const uchar *at)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(at));
}

QM_AVX2 inline void store32(uchar *at, __m256i value)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(at), value);
}

// Four pixels of four bytes each; with three channels the last four bytes are undefined.
template<int Channels>
QM_AVX2 inline void storePixels(uchar *at, __m128i pixels)
{
    if constexpr (Channels == 3)
        pixels = _mm_shuffle_epi8(pixels, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(at), pixels);
}

QM_AVX2 void unfilterUp(uchar *row, const uchar *filtered, const uchar *above, int bytes)
{
    for (int i = 0; i < bytes; i += 32)
        store32(row + i, _mm256_add_epi8(load32(filtered + i), load32(above + i)));
}

// Four pixels per step: within a register, the sum over all pixels to the left takes two shifted additions.
template<int Channels>
QM_AVX2 void unfilterSub(uchar *row, const uchar *filtered, int bytes)
{
    const __m128i spread = Channels == 4 ? _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)
                                         : _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    __m128i left = _mm_setzero_si128(); // the last pixel, in all four lanes
    for (int i = 0; i < bytes; i += 4 * Channels) {
        __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i *>(filtered + i));
        pixels = _mm_shuffle_epi8(pixels, spread);
        pixels = _mm_add_epi8(pixels, _mm_slli_si128(pixels, 4));
        pixels = _mm_add_epi8(pixels, _mm_slli_si128(pixels, 8));
        pixels = _mm_add_epi8(pixels, left);
        left = _mm_shuffle_epi32(pixels, 0xff);
        storePixels<Channels>(row + i, pixels);
    }
}

template<int Channels>
QM_AVX2 void unfilterAverage(uchar *row, const uchar *filtered, const uchar *above, int bytes)
{
    const __m128i ones = _mm_set1_epi8(1);
    __m128i left = _mm_setzero_si128();
    for (int i = 0; i < bytes; i += Channels) {
        const __m128i up = loadPixel(above + i);
        // The instruction rounds up, PNG rounds down.
        const __m128i odd = _mm_and_si128(_mm_xor_si128(left, up), ones);
        const __m128i average = _mm_sub_epi8(_mm_avg_epu8(left, up), odd);
        left = _mm_add_epi8(loadPixel(filtered + i), average);
        storePixel(row + i, left);
    }
}

// Two packed pixels as 16-bit lanes, four lanes each.
template<int Channels>
QM_AVX2 inline __m128i loadPixelPair(const uchar *at)
{
    const __m128i order = Channels == 4 ? _mm_setr_epi8(0, -1, 1, -1, 2, -1, 3, -1, 4, -1, 5, -1, 6, -1, 7, -1)
                                        : _mm_setr_epi8(0, -1, 1, -1, 2, -1, -1, -1, 3, -1, 4, -1, 5, -1, -1, -1);
    return _mm_shuffle_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(at)), order);
}

// Two pixels of Paeth. Each pixel depends on the one to its left, so whatever depends only on the row above is computed
// first, to shorten the dependent part of the predictor's three comparisons. With d = above - corner, d > 0:
//   left is nearest if >= above or <= corner - 2 d; between those two,
//   corner is nearest below corner - d / 2, above from there on; all of it mirrored if d < 0.
struct PaethPair {
    __m128i residual, low, high; // left is not nearest strictly between low and high
    __m128i middle, below, rest; // there: the result if left < middle, and otherwise
};

template<int Channels>
QM_AVX2 inline PaethPair preparePaeth(const uchar *filtered, const uchar *above)
{
    const __m128i residual = loadPixelPair<Channels>(filtered);
    const __m128i up = loadPixelPair<Channels>(above);
    const __m128i corner = loadPixelPair<Channels>(above - Channels);
    const __m128i d = _mm_sub_epi16(up, corner);
    const __m128i falls = _mm_srai_epi16(d, 15); // -1 if d < 0
    const __m128i far = _mm_sub_epi16(corner, _mm_add_epi16(d, d));
    const __m128i doubled = _mm_sub_epi16(_mm_add_epi16(corner, corner), d); // twice the middle
    const __m128i ofAbove = _mm_add_epi8(residual, up);                      // the high bytes stay zero
    const __m128i ofCorner = _mm_add_epi8(residual, corner);
    PaethPair pair;
    pair.residual = residual;
    pair.low = _mm_min_epi16(up, far);
    pair.high = _mm_max_epi16(up, far);
    pair.middle = _mm_srai_epi16(_mm_sub_epi16(_mm_add_epi16(doubled, _mm_set1_epi16(1)), falls), 1);
    pair.below = _mm_blendv_epi8(ofCorner, ofAbove, falls);
    pair.rest = _mm_blendv_epi8(ofAbove, ofCorner, falls);
    return pair;
}

QM_AVX2 inline __m128i unfilterPaethPixel(const PaethPair &pair, __m128i left)
{
    const __m128i between = _mm_and_si128(_mm_cmpgt_epi16(left, pair.low), _mm_cmpgt_epi16(pair.high, left));
    const __m128i aboveOrCorner = _mm_blendv_epi8(pair.rest, pair.below, _mm_cmpgt_epi16(pair.middle, left));
    return _mm_blendv_epi8(_mm_add_epi8(pair.residual, left), aboveOrCorner, between);
}

QM_AVX2 inline PaethPair second(const PaethPair &pair)
{
    const auto upper = [](__m128i lanes) { return _mm_unpackhi_epi64(lanes, lanes); };
    return {upper(pair.residual), upper(pair.low),   upper(pair.high),
            upper(pair.middle),   upper(pair.below), upper(pair.rest)};
}

// Number of bytes, in whole pixels, with zero residuals among the next 32.
template<int Channels>
QM_AVX2 inline int levelBytes(const uchar *filtered)
{
    const __m256i zero = _mm256_cmpeq_epi8(load32(filtered), _mm256_setzero_si256());
    const quint32 others = ~quint32(_mm256_movemask_epi8(zero));
    return (others == 0 ? 32 : __builtin_ctz(others)) / Channels * Channels;
}

// If left and corner are equal, the predictor is the pixel above, and stays so as long as the residuals are zero: flat
// parts of a screenshot are copied. Short ones are not worth a branch that is mispredicted half the time.
template<int Channels>
QM_AVX2 void unfilterPaeth(uchar *row, const uchar *filtered, const uchar *above, int bytes)
{
    constexpr int step = 32 / Channels * Channels;
    constexpr qint64 ofPixel = Channels == 4 ? -1 : (qint64(1) << 48) - 1;
    __m128i left = _mm_add_epi8(_mm_cvtepu8_epi16(loadPixel(filtered)), _mm_cvtepu8_epi16(loadPixel(above)));
    storePixel(row, _mm_packus_epi16(left, left));
    for (int i = Channels; i < bytes; i += 4 * Channels) {
        int level = levelBytes<Channels>(filtered + i);
        const __m128i corner = _mm_cvtepu8_epi16(loadPixel(above + i - Channels));
        if (level == step && (_mm_cvtsi128_si64(_mm_xor_si128(left, corner)) & ofPixel) == 0) {
            do {
                store32(row + i, load32(above + i));
                i += level;
                level = levelBytes<Channels>(filtered + i);
            } while (level == step && i < bytes);
            store32(row + i, load32(above + i));
            i += level;
            left =
                _mm_cvtepu8_epi16(loadPixel(above + i - Channels)); // not from row, whose bytes are still being stored
        }
        const PaethPair first = preparePaeth<Channels>(filtered + i, above + i);
        const PaethPair next = preparePaeth<Channels>(filtered + i + 2 * Channels, above + i + 2 * Channels);
        const __m128i one = unfilterPaethPixel(first, left);
        const __m128i two = unfilterPaethPixel(second(first), one);
        const __m128i three = unfilterPaethPixel(next, two);
        left = unfilterPaethPixel(second(next), three);
        storePixels<Channels>(row + i, _mm_packus_epi16(_mm_unpacklo_epi64(one, two), _mm_unpacklo_epi64(three, left)));
    }
}

template<int Channels>
QM_AVX2 void unfilterRow(int filter, uchar *row, const uchar *filtered, const uchar *above, int bytes)
{
    switch (filter) {
    case subFilter: return unfilterSub<Channels>(row, filtered, bytes);
    case upFilter: return unfilterUp(row, filtered, above, bytes);
    case averageFilter: return unfilterAverage<Channels>(row, filtered, above, bytes);
    case paethFilter: return unfilterPaeth<Channels>(row, filtered, above, bytes);
    default: std::memcpy(row, filtered, size_t(bytes));
    }
}

void unfilter(int filter, uchar *row, const uchar *filtered, const uchar *above, int bytes, int channels)
{
    channels == 3 ? unfilterRow<3>(filter, row, filtered, above, bytes)
                  : unfilterRow<4>(filter, row, filtered, above, bytes);
}

QM_AVX2 inline __m256i distance(__m256i a, __m256i b)
{
    return _mm256_sub_epi8(_mm256_max_epu8(a, b), _mm256_min_epu8(a, b));
}

// Paeth's predictor in 8-bit lanes. |left + above - 2 corner| is the sum of the two other differences if they have the
// same sign, otherwise the difference of their absolute values; a sum over 255 is always the largest of the three.
QM_AVX2 inline __m256i paeth(__m256i left, __m256i above, __m256i corner)
{
    const __m256i toLeft = distance(above, corner);
    const __m256i toAbove = distance(left, corner);
    const __m256i leftBelow = _mm256_cmpeq_epi8(_mm256_min_epu8(left, corner), left);
    const __m256i aboveBelow = _mm256_cmpeq_epi8(_mm256_min_epu8(above, corner), above);
    const __m256i opposite = _mm256_xor_si256(leftBelow, aboveBelow);
    const __m256i toCorner = _mm256_blendv_epi8(_mm256_adds_epu8(toLeft, toAbove), distance(toLeft, toAbove), opposite);
    const __m256i notLeft = _mm256_min_epu8(toAbove, toCorner);
    const __m256i aboveOrCorner = _mm256_blendv_epi8(corner, above, _mm256_cmpeq_epi8(notLeft, toAbove));
    return _mm256_blendv_epi8(aboveOrCorner, left, _mm256_cmpeq_epi8(_mm256_min_epu8(toLeft, notLeft), toLeft));
}

template<int Filter>
QM_AVX2 inline __m256i residual(const uchar *row, const uchar *above, int channels)
{
    const __m256i here = load32(row);
    if constexpr (Filter == noFilter)
        return here;
    if constexpr (Filter == upFilter)
        return _mm256_sub_epi8(here, load32(above));
    const __m256i left = load32(row - channels);
    if constexpr (Filter == subFilter)
        return _mm256_sub_epi8(here, left);
    if constexpr (Filter == averageFilter) {
        const __m256i up = load32(above);
        const __m256i odd = _mm256_and_si256(_mm256_xor_si256(left, up), _mm256_set1_epi8(1));
        return _mm256_sub_epi8(here, _mm256_sub_epi8(_mm256_avg_epu8(left, up), odd));
    }
    return _mm256_sub_epi8(here, paeth(left, load32(above), load32(above - channels)));
}

QM_AVX2 inline quint64 total(__m256i sums)
{
    const __m128i halves = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    return quint64(_mm_cvtsi128_si64(halves)) + quint64(_mm_extract_epi64(halves, 1));
}

template<int Filter>
QM_AVX2 PngKernels::Residuals measureOf(const uchar *const *rows, int count, int bytes, int channels)
{
    constexpr int block = PngKernels::sampledBlock, lead = 32;
    PngKernels::Residuals found;
    __m256i amounts = _mm256_setzero_si256();
    for (int start = 0; start < bytes; start += PngKernels::sampledStep) {
        const int size = qMin(block, bytes - start);
        alignas(32) uchar residuals[2][lead + block];
        std::memset(residuals[0], 0, lead);
        std::memset(residuals[1], 0, lead);
        if (Filter == noFilter) {
            for (int i = 0; i < size; i += 32)
                _mm256_store_si256(reinterpret_cast<__m256i *>(residuals[0] + lead + i), load32(rows[0] + start + i));
        }
        for (int k = 1; k <= count; ++k) {
            uchar *here = residuals[k & 1] + lead;
            const uchar *before = residuals[~k & 1] + lead;
            for (int i = 0; i < size; i += 32)
                _mm256_store_si256(reinterpret_cast<__m256i *>(here + i),
                                   residual<Filter>(rows[k] + start + i, rows[k - 1] + start + i, channels));
            quint32 last = 0; // whether the previous byte repeated something
            for (int i = 0; i < size; i += 32) {
                const __m256i values = load32(here + i);
                __m256i same = _mm256_or_si256(_mm256_cmpeq_epi8(values, load32(here + i - 1)),
                                               _mm256_cmpeq_epi8(values, load32(here + i - channels)));
                if (k > 1 || Filter == noFilter)
                    same = _mm256_or_si256(same, _mm256_cmpeq_epi8(values, load32(before + i)));
                if (size - i >= 32)
                    amounts =
                        _mm256_add_epi64(amounts, _mm256_sad_epu8(_mm256_abs_epi8(values), _mm256_setzero_si256()));
                const quint32 valid = size - i >= 32 ? ~0u : (1u << (size - i)) - 1;
                const quint32 repeats = quint32(_mm256_movemask_epi8(same));
                found.literals += quint64(__builtin_popcount(~repeats & valid));
                found.changes += quint64(__builtin_popcount((repeats ^ (repeats << 1 | last)) & valid));
                last = repeats >> 31;
            }
            found.sampled += quint64(size);
        }
    }
    found.amount = total(amounts);
    return found;
}

// Calls the instance for the filter.
#define QM_FOR_FILTER(function, filter, ...)                                                                           \
    switch (filter) {                                                                                                  \
    case noFilter: return function<noFilter>(__VA_ARGS__);                                                             \
    case subFilter: return function<subFilter>(__VA_ARGS__);                                                           \
    case upFilter: return function<upFilter>(__VA_ARGS__);                                                             \
    case averageFilter: return function<averageFilter>(__VA_ARGS__);                                                   \
    default: return function<paethFilter>(__VA_ARGS__);                                                                \
    }

PngKernels::Residuals measure(int filter, const uchar *const *rows, int count, int bytes, int channels)
{
    QM_FOR_FILTER(measureOf, filter, rows, count, bytes, channels)
}

template<int Filter>
QM_AVX2 void filterRow(uchar *out, const uchar *row, const uchar *above, int bytes, int channels)
{
    for (int i = 0; i < bytes; i += 32)
        store32(out + i, residual<Filter>(row + i, above + i, channels));
}

void filter(int filter, uchar *out, const uchar *row, const uchar *above, int bytes,
            int channels){QM_FOR_FILTER(filterRow, filter, out, row, above, bytes, channels)}

// RGBA to BGRA and back is the same swap.
QM_AVX2 inline __m256i exchanged(__m256i pixels)
{
    const __m256i order = _mm256_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15, 2, 1, 0, 3, 6, 5, 4, 7,
                                           10, 9, 8, 11, 14, 13, 12, 15);
    return _mm256_shuffle_epi8(pixels, order);
}

QM_AVX2 void unpack(quint32 *words, const uchar *packed, int pixels, int channels)
{
    int i = 0;
    if (channels == 4) {
        for (; i + 8 <= pixels; i += 8)
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(words + i), exchanged(load32(packed + 4 * i)));
    } else {
        const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
        const __m128i alpha = _mm_set1_epi32(int(0xff000000u));
        for (; i + 6 <= pixels; i += 4) {
            const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i *>(packed + 3 * i));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(words + i),
                             _mm_or_si128(alpha, _mm_shuffle_epi8(four, order)));
        }
    }
    PngKernels::portable().unpack(words + i, packed + channels * i, pixels - i, channels);
}

QM_AVX2 void pack(uchar *packed, const quint32 *words, int pixels, int channels)
{
    int i = 0;
    if (channels == 4) {
        for (; i + 8 <= pixels; i += 8)
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(packed + 4 * i),
                                exchanged(load32(reinterpret_cast<const uchar *>(words + i))));
    } else {
        const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
        // Counted in words. The picture comes from memory, and processors do not prefetch across pages by themselves.
        constexpr int ahead = 2048;
        for (; i + 6 <= pixels; i += 4) { // each store writes four bytes that the next one overwrites
            _mm_prefetch(reinterpret_cast<const char *>(words + i + ahead), _MM_HINT_T0);
            const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i *>(words + i));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(packed + 3 * i), _mm_shuffle_epi8(four, order));
        }
    }
    PngKernels::portable().pack(packed + channels * i, words + i, pixels - i, channels);
}

QM_AVX2 void accumulate(quint16 *sums, const uchar *row, int bytes)
{
    int i = 0;
    for (; i + 16 <= bytes; i += 16) {
        const auto at = reinterpret_cast<__m256i *>(sums + i);
        const __m256i more = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(row + i)));
        _mm256_storeu_si256(at, _mm256_add_epi16(_mm256_loadu_si256(at), more));
    }
    for (; i < bytes; ++i)
        sums[i] = quint16(sums[i] + row[i]);
}

constexpr PngKernels avx2Kernels{&unfilter, &measure, &filter, &unpack, &pack, &accumulate};

} // namespace

const PngKernels *PngKernels::avx2()
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt") ? &avx2Kernels : nullptr;
}

} // namespace qm

#else

const qm::PngKernels *qm::PngKernels::avx2()
{
    return nullptr;
}

#endif
