#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads PNG files, by libpng and by a fast lane of our own where the file allows (PngLane). Any thread.
namespace PngReader {

enum class Depth {
    file, // 8 or 16 bits as the file has them; grey stays grey; palettes become colours
    eight // RGB888 or RGBA8888 whatever the file has
};
enum class Lane { whereItFits, never };

bool isPng(const QByteArray &head); // the first 8 bytes

// The device stands at the file's start and can seek. An interlaced picture is decoded whole before its rows are handed
// out; a damaged one gives the rows that libpng gives.
Decoded read(QIODevice &file, Depth depth, RowSink &sink, Lane lane = Lane::whereItFits);

} // namespace PngReader
} // namespace qm
