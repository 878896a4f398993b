#pragma once

#include <QImage>
#include <QSize>

#include <functional>
#include <memory>

namespace qm {

// Joins successive frames of one scrolling region into one tall picture, every line once. Fixed parts (sticky headers
// and footers) are kept once: at the top as in the first frame, at the end as in the furthest frame. Columns at the
// left and right that do not scroll along (scroll bars, a sidebar) appear as in the frame each row comes from. A row
// comes from one frame, never blended from several.
//
// A shift is accepted only if no other fits, so the overlap of two frames must show something that does not repeat: at
// least a third of the region's height, or two thirds where something else changed too (a caret, an animation, a bar)
// or the region is lower than 200 pixels. On a page that repeats one block, steps so long that the true overlap is
// hardly visible cannot be resolved: steps of half the region are safe and quick.
//
// One thread at a time. Lengths are pixels. Holds two frames and a few bytes per row of them, never the whole picture;
// three frames after scrolling back.
class Stitcher
{
public:
    // Receives final rows, top to bottom, RGB32. The image is only valid during the call. Return false if they could
    // not be stored.
    using Rows = std::function<bool(const QImage &rows)>;

    enum class Step {
        first,     // nothing to compare with yet
        still,     // no shift. Before anything has moved, fixed bands can hide that a blank middle did
        joined,    // the shift is lastShift()
        ambiguous, // more than one shift fits (blank or repeated rows): take a smaller step from the last joined frame
        lost,      // no shift fits (the step was too long, or the content changed): go back a step
        failed     // Rows returned false, or a frame has the wrong size; nothing more is joined
    };

    Stitcher(const QSize &frame, Rows rows);
    ~Stitcher();

    // The region's current frame, RGB32; shared, so its pixels must not change later. After ambiguous and lost, the
    // stitcher stays at the last joined frame and compares the next frame with that.
    Step add(const QImage &frame);

    int height() const;    // the picture's height if finish() were called now; 0 before the first frame
    int lastShift() const; // how far the content moved up in the last joined step; negative if scrolled back
    int position() const;  // offset of the last joined frame below the first; negative above it

    // Hands over the remaining rows: the rest of the furthest frame, including the band fixed at the bottom. Returns
    // false if Rows ever returned false, or if there was no frame. Call nothing afterwards.
    bool finish();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
