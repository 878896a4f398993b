#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads HEIC and HEIF files with libheif: the primary picture, 8 bits per channel. Any thread; decoded as a whole.
namespace HeifReader {

bool isHeif(const QByteArray &head); // headBytes of the file, or all of it
constexpr int headBytes = 64;        // what the file says it is, and what it is compatible with

// The device must be at the file's start. Rows are RGB888 or RGBA8888, rotated as the file specifies.
Decoded read(QIODevice &file, RowSink &sink);

} // namespace HeifReader
} // namespace qm
