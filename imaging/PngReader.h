#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// Reads PNG files, with libpng or, if the file allows, our own fast lane (PngLane). Any thread.
namespace PngReader {

enum class Depth {
    file, // 8 or 16 bits as in the file; grey stays grey; palettes become colours
    eight // always RGB888 or RGBA8888
};
enum class Lane { whereItFits, never };

bool isPng(const QByteArray &head); // the first 8 bytes

// The device must be at the file's start and seekable. An interlaced picture is decoded as a whole before its rows are
// delivered; a damaged one yields the rows that libpng yields.
Decoded read(QIODevice &file, Depth depth, RowSink &sink, Lane lane = Lane::whereItFits);

} // namespace PngReader
} // namespace qm
