#pragma once

#include "imaging/ImageFile.h"

#include <QtGlobal>

#include <algorithm>
#include <chrono>

namespace qm::ocr {

// How many resources a picture may use.
struct Limits {
    // For a picture of up to 1920 x 1080; grows with its pixels beyond that. Reading takes about a tenth of it.
    std::chrono::milliseconds time = std::chrono::seconds(30);
    // For a worker to begin. Loading takes a tenth of a second; what takes longer is not the picture's fault.
    std::chrono::milliseconds start = std::chrono::seconds(30);
    // Bytes of a worker's address space: the largest picture at eight bytes per pixel, decoded and once more while it is
    // turned, plus a gigabyte for codecs and the recogniser.
#ifdef __SANITIZE_ADDRESS__
    quint64 memory = ~quint64(0); // the sanitizer reserves terabytes of address space
#else
    quint64 memory = 2 * 8 * quint64(ImageFile::maxPixels) + (quint64(1) << 30);
#endif

    std::chrono::milliseconds timeFor(qint64 pixels) const
    {
        static constexpr double fullHd = 1920 * 1080;
        return std::chrono::milliseconds(qint64(double(time.count()) * std::max(1.0, double(pixels) / fullHd)));
    }

    // QMOCR_TIME_LIMIT_MS and QMOCR_MEMORY_LIMIT_MB in the environment override the values above.
    static Limits fromEnvironment();
};

} // namespace qm::ocr
