#pragma once

#include "imaging/PngReader.h"
#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Picks the reader for a file by its first bytes: PNG, JPEG, WebP, HEIC and TIFF with alpha have one here; GIF, other TIFF,
// animated WebP and CMYK JPEG are left to Qt. What is neither PNG nor JPEG is left to DecoderProcess where that is used.
//
// Memory is bounded whatever the file says: nothing is decoded before its header told what that takes, all of which comes from
// DecodeBudget. Rows that arrive one after the other take little; how many may come is up to the sink.
namespace PictureReader {

constexpr qint64 maxPixelsAtOnce = 64'000'000; // of a picture that its reader can only decode as a whole

struct Wish {
    PngReader::Depth depth = PngReader::Depth::file;
    double smallestLongEdge = 0; // pixels; a decoder may reduce the picture down to this. 0: no reduction
};

// The device must be at the file's start and seekable. Any thread; waits for memory that other decoders have, except on the
// main thread: `busy`.
Decoded read(QIODevice &file, const Wish &wish, RowSink &sink);

QImage oriented(QImage image, int orientation); // rotated according to the EXIF orientation

} // namespace PictureReader
} // namespace qm
