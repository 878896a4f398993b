#pragma once

#include <QImage>
#include <QRect>

namespace qm {

// What two frames of one scrolling region have to do with each other. Rows and shifts in pixels. Any thread.
struct FrameMatch {
    enum class Kind {
        still,     // nothing moved
        moved,     // by shift, and by nothing else
        ambiguous, // more than one shift fits, or there is too little to tell by
        lost       // no shift fits
    };
    Kind kind = Kind::lost;
    int shift = 0; // `now` shows at row y what `before` shows at y + shift

    // Moved: up to this row of `before` nothing belongs to a band that stays at the bottom. When the content moved up, the
    // next row stands in `now`, too, below any band at its top.
    int splice = 0;
    QRect part = {}; // moved: outside of it the frames are equal; what keeps its place lies there

    // Both RGB32 and of one size. `moving` is the part known to move, everything if nothing is known: where nothing
    // changed, only that can tell that nothing moved.
    static FrameMatch find(const QImage &before, const QImage &now, const QRect &moving);
};

} // namespace qm
