#pragma once

#include "helpers/qmscroll/Placement.h"

#include <QSize>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

// Joins successive frames of one scrolling region into one tall picture, every line once. What keeps its place (headers
// and footers) is in the picture once: at the top as in the first frame, at the end as in the furthest frame. Columns
// that do not scroll along (scroll bars, a sidebar) appear as in the frame each row comes from. A row comes from the
// latest frame that showed it, never blended from several: what loads late is taken as it is in the end.
//
// Rows agree to the pixel or not at all, and a frame must agree with a quarter of its height, by something that does not
// repeat. What seems to have changed after it has left the frame makes a step doubtful; rows stay replaceable for one
// height above the frame, so going back and looking mends it. So does a step that brings again what is written.
//
// One thread at a time. Lengths are pixels. Holds two frames and the last two heights of rows (three within add()), and four
// bytes of each row that is handed over.
class Stitcher
{
public:
    // Receives final rows, top to bottom, RGB32. The image is only valid during the call. Return false if they could
    // not be stored.
    using Rows = std::function<bool(const QImage &rows)>;

    enum class Step {
        first,     // nothing to compare with yet
        still,     // no shift. Before anything has moved, fixed bands can hide that a blank middle did
        renewed,   // no shift, but part of what is shown has changed; it was taken anew
        joined,    // the shift is lastShift()
        doubtful,  // what was taken before seems to have changed: go back a step and look
        ambiguous, // more than one shift fits (blank or repeated rows): take a smaller step from the last joined frame
        lost,      // no shift fits (the step was too long, or the content changed): go back a step
        failed     // Rows returned false, or a frame has the wrong size; nothing more is joined
    };

    Stitcher(const QSize &frame, Rows rows);
    ~Stitcher();

    // The region's current frame, RGB32; shared, so its pixels must not change later. After doubtful, ambiguous and lost
    // the stitcher stays at the last joined frame and compares the next frame with that.
    Step add(const QImage &frame, Heading heading = Heading::any);

    int height() const;    // the picture's height if finish() were called now; 0 before the first frame
    int lastShift() const; // how far the content moved up in the last joined step; negative if scrolled back
    bool renewed() const;  // the last step that was not refused found part of what it shows changed, and took it anew
    int moving() const;    // height of the part of the frame that moves, as far as is known

    // True if a frame shows the last joined one, moved up by `shift` or a pixel more or less, but for a few rows. Quick, and
    // no more than a sign that a movement is over: what repeats itself agrees in many places.
    bool hasMovedBy(int shift, const QImage &frame) const;

    // Where in the picture a frame lies, without joining it: the picture's row that its first row shows, of several the one
    // nearest to `near`. What is at the top may be a header that was not there before, and does not count. std::nullopt if
    // what it shows is not in the picture.
    std::optional<int> find(const QImage &frame, int near) const;
    bool isBeginning(const QImage &frame) const; // it begins as the picture does

    QImage heldRows() const; // the rows not yet handed over, as they are now; valid until the next add()

    // Hands over the remaining rows: up to the end of the furthest frame, including what is fixed at the bottom. Returns
    // false if Rows ever returned false, or if there was no frame. Call nothing afterwards.
    bool finish();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
