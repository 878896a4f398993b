#pragma once

#include <QtGlobal>

namespace qm {

// The inner loops of reading and writing 8-bit PNG rows, in plain C++ and for processors with AVX2, with identical
// results. "Packed" is PNG's own order, R G B (A), without padding; "words" are QRgb, 0xAARRGGBB. Filters are those of
// the PNG specification, clause 9, for 3 or 4 channels; `above` is the previous row, zeros for the first.
struct PngKernels {
    // The filter is 0 to 4. Reads and writes up to 96 bytes past the ends. row must not overlap filtered: loads would
    // wait for stores.
    void (*unfilter)(int filter, uchar *row, const uchar *filtered, const uchar *above, int bytes, int channels);

    // What a filter would leave of `count` rows: rows[0] is the row above, rows[1] to rows[count] are the rows
    // themselves. Measured on a tenth of each row, in blocks. Rows have 4 zero bytes before them; up to 32 bytes past
    // their end are read.
    struct Residuals {
        quint64 sampled = 0, literals = 0, changes = 0; // bytes; those repeating nothing; ends of their runs
        quint64 amount = 0;                             // sum of |residual|, over whole 32-byte groups
    };
    Residuals (*measure)(int filter, const uchar *const *rows, int count, int bytes, int channels);
    // Writes the filtered row. Up to 32 bytes past the ends are read and written.
    void (*filter)(int filter, uchar *out, const uchar *row, const uchar *above, int bytes, int channels);

    void (*unpack)(quint32 *words, const uchar *packed, int pixels, int channels);
    void (*pack)(uchar *packed, const quint32 *words, int pixels, int channels);

    void (*accumulate)(quint16 *sums, const uchar *row, int bytes); // sums[i] += row[i]

    static constexpr int sampledBlock = 96, sampledStep = 1024; // bytes

    // Chooses the filter, 0 to 4, for the next rows: the one that leaves the deflater most to repeat or, if there is
    // nothing (photographs), the one with the smallest residuals.
    int chooseFilter(const uchar *const *rows, int count, int bytes, int channels) const;

    static const PngKernels &portable();
    static const PngKernels *avx2(); // null if this processor lacks AVX2
    static const PngKernels &best(); // chosen on the first call
    static void use(
        const PngKernels *kernels); // for tests, before any other thread reads pictures; null: the best again
};

} // namespace qm
