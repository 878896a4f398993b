#pragma once

#include <QtGlobal>

namespace qm {

// The inner loops of reading and writing 8-bit PNG rows, as plain C++ and once more for processors with AVX2. Both give
// the same bytes. "Packed" is PNG's own order, R G B (A), without padding; "words" are QRgb, 0xAARRGGBB.
// Filters are those of the PNG specification, clause 9, for 3 or 4 channels; `above` is the row before, zeros for the first.
struct PngKernels {
    // In place. The filter is one of 0 to 4. Reads up to 16 bytes past the end of both rows.
    void (*unfilter)(int filter, uchar *row, const uchar *above, int bytes, int channels);

    // Writes the filter's number and the filtered row, 1 + bytes in all, by the filter among Up, Sub and Paeth whose
    // residuals are smallest. Both rows have 4 zero bytes before them; reads and writes up to 32 bytes past the end.
    void (*filter)(uchar *out, const uchar *row, const uchar *above, int bytes, int channels);

    void (*unpack)(quint32 *words, const uchar *packed, int pixels, int channels);
    void (*pack)(uchar *packed, const quint32 *words, int pixels, int channels);
    bool (*opaqueWords)(const quint32 *words, int pixels);

    // For shrinking: sums[i] += row[i], and what transparency needs before it (packed RGBA).
    void (*accumulate)(quint16 *sums, const uchar *row, int bytes);
    bool (*opaquePacked)(const uchar *packed, int pixels);

    static const PngKernels &portable();
    static const PngKernels *avx2(); // null where this processor has none
    static const PngKernels &best(); // chosen once, at the first call
    static void use(
        const PngKernels *kernels); // for tests, before any other thread reads pictures; null: the best again
};

} // namespace qm
