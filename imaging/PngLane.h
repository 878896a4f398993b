#pragma once

#include "imaging/RowSink.h"

class QIODevice;

namespace qm {

// The fast way through the image data of what screenshots are: 8-bit RGB or RGBA, not interlaced. libpng has read the header
// and everything before the first IDAT chunk; from there on ISA-L inflates and PngKernels unfilters.
//
// The lane is strict and never the judge: at anything that is not exactly as it should be (checksums, filter numbers, chunk
// order, a byte too few or too many) it gives up, and libpng reads the picture again and decides what is shown of it.
// One difference to zlib is known: an incomplete Huffman code, which no encoder writes, is inflated instead of refused.
namespace PngLane {

// The device stands at the content of the first IDAT chunk. `notTaken` when the lane gave up; the sink may have seen rows,
// which were not necessarily the right ones.
Decoded read(QIODevice &file, quint32 firstLength, const PictureHeader &header, RowSink &sink);

} // namespace PngLane
} // namespace qm
