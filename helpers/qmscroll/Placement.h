#pragma once

#include "helpers/qmscroll/HeldRows.h"

namespace qm {

enum class Heading {
    any,
    forward // the wheel was turned down: what seems to lie further up is content that has grown
};

// Where a frame lies in the picture. Rows in pixels. Any thread.
//
// A place is found by what exists only once, both in the frame and in the rows that are held, and counts only if all
// rows agree to the pixel, from the top of what moves on. What does not agree further down has changed by itself: the
// frame shows it as it is now. At the top that would leave the half of it that has left the frame as it was, so it is
// doubtful instead. Where more has changed than agrees, or hardly two lines of text do, it is no place at all: tables and
// logs have many lines that differ in one column.
struct Placement {
    enum class Kind {
        found,
        doubtful,  // it lies at `at`, but something that was taken before seems to have changed
        ambiguous, // more than one place fits, or there is too little to tell
        lost       // none does
    };

    // What earlier frames have shown.
    struct Known {
        Heading heading = Heading::any;
        Bands moving = {}; // columns that move with the page; none: nothing is known
        int top = 0;       // rows of a frame above this one keep their place
        int bottom = 0;    // and from this one on
        // What seemed to have changed was looked at again, and had not: it belongs to the frame.
        bool looked = false;
    };

    Kind kind = Kind::lost;
    int at = 0;     // the picture's row that the frame's first row shows
    int top = 0;    // the frame's rows above this one are a header or the like, no part of the page here
    int bottom = 0; // rows from here on have kept their place
    Bands moving = {};
    bool renewed = false; // what it shows differs from the rows held there, by more than a caret
    int compared = 0;     // rows above this one were compared with the held rows
    int settled = 0;      // of these, rows from here on are not known to lie where `at` says

    // `last` lies at lastAt; both frames have the same size.
    static Placement find(const HeldRows &held, const Frame &last, int lastAt, const Frame &now, const Known &known);
};

} // namespace qm
