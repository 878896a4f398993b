#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads JPEG files with libjpeg-turbo. Any thread.
namespace JpegReader {

bool isJpeg(const QByteArray &head);

// The device must be at the file's start. Rows are Grayscale8 or RGB888. Given a smallest edge, the decoder itself
// halves the picture up to three times, as long as its longer edge stays at or above that; the header then has the
// reduced size. CMYK pictures are refused. A truncated file yields the rows it has.
Decoded read(QIODevice &file, double smallestLongEdge, RowSink &sink);

} // namespace JpegReader
} // namespace qm
