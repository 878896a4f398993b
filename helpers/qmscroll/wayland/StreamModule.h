#pragma once

#include "helpers/qmscroll/wayland/RegionFrames.h"

#include <cstdint>

namespace qm {

// Frames from a stream of PipeWire's that shows the part's monitor. They live in a module of their own, because only desktops
// without other roads need PipeWire, and it loads for longer than everything else. remote: a connection to PipeWire, which the
// frames take over. Null if there is no such stream.
using OpenStreamFunction = RegionFrames *(*)(int remote, uint32_t node, const RegionPart &part);
constexpr char openStreamFunctionName[] = "quillmereOpenStream";
constexpr char streamLibraryName[] = "qmstream.so"; // next to the program

} // namespace qm
