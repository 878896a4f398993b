#pragma once

#include <QImage>
#include <QRect>

namespace qm {

// How two frames of one scrolling region relate. Rows and shifts in pixels. Any thread.
struct FrameMatch {
    enum class Kind {
        still,     // nothing moved
        moved,     // by shift and nothing else
        ambiguous, // more than one shift fits, or there is too little to tell
        lost       // no shift fits
    };
    Kind kind = Kind::lost;
    int shift = 0; // `now` shows at row y what `before` shows at y + shift

    // If moved: the rows of `before` above this one contain no band fixed at the bottom. If the content moved up, row
    // `splice` is visible in `now` as well, below any band fixed at the top.
    int splice = 0;
    QRect part = {}; // if moved: the frames are equal outside it; fixed parts lie there

    // Both frames RGB32 and of the same size. `moving` is the part known to move, or everything if nothing is known:
    // when nothing changed, it is the only evidence that nothing moved.
    static FrameMatch find(const QImage &before, const QImage &now, const QRect &moving);
};

} // namespace qm
