#pragma once

#include "helpers/qmscroll/Stitcher.h"
#include "tests/helpers/qmscroll/ScrollScene.h"

#include <functional>

namespace qm {

// Plays the program around a stitcher: scrolls on, takes a smaller step when the stitcher cannot tell, gives up when the
// smallest does not help either.
struct ScrollDriver {
    ScrollScene &scene;
    Stitcher stitcher;
    QImage picture; // the rows handed over so far
    int start, at, furthest;
    bool stuck = false;
    bool undecidable = false; // the page repeats itself so that no one could have told; the run ends there
    QString wrong;            // what the stitcher claimed that is not so

    ScrollDriver(ScrollScene &shown, int offset);

    // One step of the page, as far as it goes; false when nothing more can come of this run.
    bool scroll(int by);
    void toTheEnd(const std::function<int()> &step);
    void finish(); // and compares the picture with the page

private:
    Stitcher::Step look(int offset);
};

} // namespace qm
