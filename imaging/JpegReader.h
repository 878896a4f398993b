#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads JPEG files by libjpeg-turbo. Any thread.
namespace JpegReader {

bool isJpeg(const QByteArray &head);

// The device stands at the file's start. Rows are Grayscale8 or RGB888. With a smallest edge the decoder itself halves the
// picture up to three times, as long as its longer edge stays at or above that; the header then gives the reduced size.
// CMYK pictures are not taken. A file that ends early gives its rows down to there.
Decoded read(QIODevice &file, double smallestLongEdge, RowSink &sink);

} // namespace JpegReader
} // namespace qm
