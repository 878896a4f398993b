#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads still WebP files by libwebp. Any thread; the compressed file is held whole.
namespace WebpReader {

bool isWebp(const QByteArray &head); // 12 bytes

// The device stands at the file's start. Rows are RGB888 or RGBA8888. With a smallest edge the decoder scales the picture
// down to that longer edge. Animations are not taken. A file that ends early gives its rows down to there.
Decoded read(QIODevice &file, double smallestLongEdge, RowSink &sink);

} // namespace WebpReader
} // namespace qm
