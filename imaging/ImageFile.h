#pragma once

#include "imaging/Image.h"

#include <QSize>

#include <optional>

class QIODevice;

namespace qm {

// Opens the picture formats that are indexed: PNG, JPEG, GIF (first frame), HEIC, TIFF, WebP. Any thread. The header is
// checked before anything is decoded; orientation is applied, a colour profile is kept. What decoding takes apart from the
// picture itself comes from DecodeBudget.
namespace ImageFile {

enum class Failure {
    none,
    missing,
    undecodable,
    tooLarge, // in pixels, or for the memory that decoding it would take
    busy // on the main thread only: the memory is being used for other pictures; load on another thread, which waits
};

struct Result {
    Image image;
    Failure failure = Failure::none;
    bool isCut = false; // the file ends early or is damaged: what could not be decoded is transparent or black
};

// A picture that is decoded by rows; for others see PictureReader::maxPixelsAtOnce.
constexpr qint64 maxPixels = 300'000'000; // a scrolling capture of 5120 x 30000 is half of it

std::optional<QSize> probe(
    QIODevice &file); // pixels as shown, from the header alone; std::nullopt if none, or too large
Result load(QIODevice &file);
Result load(const QString &path);

} // namespace ImageFile
} // namespace qm
