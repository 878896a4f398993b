#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads TIFF files with an alpha channel of 8 bits with libtiff. Any thread. (Qt's codec multiplies such colours by their alpha
// twice, or drops the alpha beside grey.)
namespace TiffReader {

bool isTiff(const QByteArray &head); // 4 bytes

// The device must be at the file's start. Takes grey or RGB with alpha in strips, samples side by side; all others are not
// taken. Rows are RGBA8888. A truncated file yields the rows it has.
Decoded read(QIODevice &file, RowSink &sink);

} // namespace TiffReader
} // namespace qm
