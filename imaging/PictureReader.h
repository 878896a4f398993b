#pragma once

#include "imaging/PngReader.h"
#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Picks the reader for a file by its first bytes: PNG, JPEG, WebP and HEIC have one here, the rest is left to Qt.
namespace PictureReader {

struct Wish {
    PngReader::Depth depth = PngReader::Depth::file;
    double smallestLongEdge = 0; // pixels; a decoder may reduce the picture down to this. 0: no reduction
};

// The device must be at the file's start and seekable. Any thread.
Decoded read(QIODevice &file, const Wish &wish, RowSink &sink);

QImage oriented(QImage image, int orientation); // rotated according to the EXIF orientation

} // namespace PictureReader
} // namespace qm
