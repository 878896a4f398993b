#pragma once

#include <QImage>
#include <QSize>

#include <functional>
#include <memory>

namespace qm {

// Joins successive frames of one scrolling region into one tall picture, every line once. What keeps its place while the
// rest moves (sticky headers and footers) is kept once: at the top what the first frame shows there, at the end what the
// furthest frame shows. Columns that do not move along at the left and right (scroll bars, a sidebar) stand in the
// picture as they are in the frame each row comes from. A row comes from one frame, never blended from several.
//
// A shift is only taken when it is the only one that fits, so the overlap of two frames must show something that does not
// repeat itself: a third of the region's height at least, two thirds where something also changed by itself (a caret, an
// animation, a bar) or where the region is lower than 200 pixels. Nothing can be told from frames of a page that repeats one
// block, with steps so long that the true overlap is hardly seen: steps of half the region are safe and quick.
//
// One thread at a time. Lengths are pixels. Holds two frames and a few bytes per row of them, never the whole picture;
// after scrolling back three frames.
class Stitcher
{
public:
    // Takes rows that are certain, top to bottom, never taken back; RGB32. The image's pixels are only lent for the call.
    // False: could not be kept.
    using Rows = std::function<bool(const QImage &rows)>;

    enum class Step {
        first,     // nothing to compare with yet
        still,     // no shift. Before anything moved, bands that never move can hide that a blank middle did
        joined,    // the shift is lastShift()
        ambiguous, // more than one shift fits (blank or repeated rows): take a smaller step from the last joined frame
        lost,      // no shift fits (a step longer than what is seen, or the content changed): go back a step
        failed     // Rows said false, or the frame is not of the agreed size; nothing more is joined
    };

    Stitcher(const QSize &frame, Rows rows);
    ~Stitcher();

    // The region as it is now, RGB32; kept by reference, so its pixels must not change later. After ambiguous and lost the
    // stitcher still stands at the last joined frame, and the next frame is compared with that.
    Step add(const QImage &frame);

    int height() const;    // of the picture if finish() were called now; 0 before the first frame
    int lastShift() const; // how far the content moved up in the last joined step; negative when scrolled back
    int position() const;  // how far the last joined frame stands below the first; negative above it

    // Hands over what is held back: the rest of the furthest frame, with the band that stays at the bottom.
    // False when Rows says false, now or before, or when there was no frame. Nothing can follow.
    bool finish();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
