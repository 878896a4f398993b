#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads still WebP files with libwebp. Any thread; the compressed file is held in memory.
namespace WebpReader {

bool isWebp(const QByteArray &head); // 12 bytes

// The device must be at the file's start. Rows are RGB888 or RGBA8888. Given a smallest edge, the decoder scales the
// picture down to that longer edge. Animations are refused. A truncated file yields the rows it has.
Decoded read(QIODevice &file, double smallestLongEdge, RowSink &sink);

// The EXIF orientation, 1 to 8, of animations too. The position stays.
int orientation(QIODevice &file);

} // namespace WebpReader
} // namespace qm
