#pragma once

#include "imaging/Image.h"

#include <QSize>

#include <optional>

class QIODevice;

namespace qm {

// Opens the picture formats that are indexed: PNG, JPEG, GIF (first frame), HEIC, TIFF, WebP. Any thread. The header is
// checked before anything is decoded; orientation is applied, a colour profile is kept.
namespace ImageFile {

enum class Failure { none, missing, undecodable, tooLarge };

struct Result {
    Image image;
    Failure failure = Failure::none;
    bool isCut = false; // the file ends early or is damaged: what could not be decoded is transparent or black
};

constexpr qint64 maxPixels = 300'000'000; // a scrolling capture of 5120 x 30000 is half of it

std::optional<QSize> probe(QIODevice &file); // pixels as shown, from the header alone; std::nullopt if not a picture
Result load(QIODevice &file);
Result load(const QString &path);

} // namespace ImageFile
} // namespace qm
