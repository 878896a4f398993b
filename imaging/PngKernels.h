#pragma once

#include <QtGlobal>

namespace qm {

// The inner loops of reading and writing 8-bit PNG rows, as plain C++ and once more for processors with AVX2. Both give
// the same bytes. "Packed" is PNG's own order, R G B (A), without padding; "words" are QRgb, 0xAARRGGBB.
// Filters are those of the PNG specification, clause 9, for 3 or 4 channels; `above` is the row before, zeros for the first.
struct PngKernels {
    // In place. The filter is one of 0 to 4. Reads up to 32 bytes past the end of both rows, and may write them
    // back as they were.
    void (*unfilter)(int filter, uchar *row, const uchar *above, int bytes, int channels);

    // The filter, 0 to 4, for the next `count` rows: rows[0] is the row above them, rows[1] to rows[count] are they. Measured
    // on a quarter of each row, in blocks: what the deflater will find to repeat; where there is nothing (photographs), the
    // smallest residuals. Rows have 4 zero bytes before them; up to 32 bytes past their end are read.
    int (*chooseFilter)(const uchar *const *rows, int count, int bytes, int channels);
    // Writes the filtered row. Up to 32 bytes past the ends are read and written.
    void (*filter)(int filter, uchar *out, const uchar *row, const uchar *above, int bytes, int channels);

    void (*unpack)(quint32 *words, const uchar *packed, int pixels, int channels);
    void (*pack)(uchar *packed, const quint32 *words, int pixels, int channels);
    bool (*opaqueWords)(const quint32 *words, int pixels);

    // For shrinking: sums[i] += row[i], and what transparency needs before it (packed RGBA).
    void (*accumulate)(quint16 *sums, const uchar *row, int bytes);
    bool (*opaquePacked)(const uchar *packed, int pixels);

    // What a filter would cost on the sampled bytes, and the choice among the five by it.
    struct FilterCost {
        quint64 sampled = 0, literals = 0, changes = 0; // bytes; those that repeat nothing; ends of runs
        quint64 amount = 0;                             // sum of the residuals, sign dropped
    };
    static constexpr int sampledBlock = 256, sampledStep = 1024; // bytes
    static int cheapest(const FilterCost (&costs)[5]);

    static const PngKernels &portable();
    static const PngKernels *avx2(); // null where this processor has none
    static const PngKernels &best(); // chosen once, at the first call
    static void use(
        const PngKernels *kernels); // for tests, before any other thread reads pictures; null: the best again
};

} // namespace qm
