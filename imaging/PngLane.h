#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// The fast path for the image data of typical screenshots: 8-bit RGB or RGBA, not interlaced. libpng has read the
// header and everything before the first IDAT chunk; from there on ISA-L inflates and PngKernels unfilters.
//
// The lane is strict and never decides: at any irregularity (checksums, filter numbers, chunk order, a byte too few or
// too many) it gives up, and libpng reads the picture again and determines the result. One difference to zlib is known:
// an incomplete Huffman code, which no encoder writes, is inflated instead of refused.
namespace PngLane {

// The device must be at the content of the first IDAT chunk. `notTaken` if the lane gave up; the sink may then have
// received rows, not necessarily correct ones.
Decoded read(QIODevice &file, quint32 firstLength, const PictureHeader &header, RowSink &sink);

} // namespace PngLane
} // namespace qm
