#pragma once

#include "imaging/PngReader.h"
#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Finds the reader for a file by its first bytes: PNG, JPEG, WebP and HEIC have one here, everything else is Qt's.
namespace PictureReader {

struct Wish {
    PngReader::Depth depth = PngReader::Depth::file;
    double smallestLongEdge = 0; // pixels; a decoder may reduce the picture down to this. 0: as it is
};

// The device stands at the file's start and can seek. Any thread.
Decoded read(QIODevice &file, const Wish &wish, RowSink &sink);

QImage oriented(QImage image, int orientation); // turned as EXIF's number asks

} // namespace PictureReader
} // namespace qm
