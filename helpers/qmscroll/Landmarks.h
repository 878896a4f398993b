#pragma once

#include "helpers/qmscroll/HeldRows.h"

#include <vector>

namespace qm {

// One band of a row that occurs only once in the frame.
struct Landmark {
    int y, row; // in the frame, and in the picture
    size_t band;
};

// What the places of a frame are told by.
struct Landmarks {
    Landmarks(const HeldRows &held, const Frame &last, const Frame &now); // the frames have the same size

    std::vector<Landmark> inBoth; // and only once in the held rows, too
    std::vector<Landmark> kept;   // the last frame had it where it is now; their `row` is 0
};

} // namespace qm
