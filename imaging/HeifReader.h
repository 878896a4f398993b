#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads HEIC and HEIF files by libheif: the primary picture, 8 bits a channel. Any thread; decoded whole.
namespace HeifReader {

bool isHeif(const QByteArray &head); // 12 bytes

// The device stands at the file's start. Rows are RGB888 or RGBA8888, turned as the file asks.
Decoded read(QIODevice &file, RowSink &sink);

} // namespace HeifReader
} // namespace qm
