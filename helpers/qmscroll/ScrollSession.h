#pragma once

#include "helpers/qmscroll/Stitcher.h"

#include <chrono>
#include <optional>

namespace qm {

// Decides, step by step, what a scrolling capture does next: when a frame is worth joining, by how many wheel clicks to go
// on, when to go back, to pause, to end. No display in it and no clock: time and what was seen are arguments.
//
//     Order order = session.look(now, sight);
//     if (order.kind == Order::Kind::join)
//         order = session.joined(now, stitcher.add(frame), stitcher.lastShift(), stitcher.height());
//     if (order.kind == Order::Kind::scroll)
//         ...                                   // order.clicks of the wheel
//     ...                                       // and look again after order.wait
class ScrollSession
{
public:
    using Milliseconds = std::chrono::milliseconds;
    enum class Mode { automatic, manual }; // manual: the user scrolls, the session only watches
    enum class Pointer { inside, overPanel, away };
    enum class End {
        open,
        content,   // there is no more to scroll
        height,    // the picture is as tall as it may be
        wish,      // it was said to be done
        cancelled, // no picture is wanted
        ambiguous, // from here on more than one way of joining fits
        lost,      // from here on none does
        failed     // the rows could not be kept
    };
    enum class Notice { none, pointerAway, pointerOverPanel, keyHeld, placeLost }; // why it does not get on

    struct Options {
        Mode mode = Mode::automatic;
        int regionHeight = 0; // pixels
        int heightLimit = 0;
    };
    // What is to be seen now.
    struct Sight {
        bool changed = false; // the frame differs from that of the look before
        bool fresh = false;   // and from the one that was last to be joined
        bool trusted = false; // it is what was seen before anything of ours lay over it
        Pointer pointer = Pointer::inside;
        bool held = false; // a button, or a key that gives the wheel another meaning, is down
    };
    struct Order {
        enum class Kind { look, join, scroll, end } kind = Kind::look;
        int clicks = 0;       // of the wheel; negative: up
        Milliseconds wait{0}; // until the next look
    };

    explicit ScrollSession(const Options &options);

    Order look(Milliseconds now, const Sight &sight);
    // The answer to Order::Kind::join. shift: of this step, pixels; height: of the picture so far.
    Order joined(Milliseconds now, Stitcher::Step step, int shift, int height);

    // These take effect with the next look.
    void finish();         // what is on the screen still comes in
    void finishOrCancel(); // the same, and without a picture when nothing has scrolled
    void cancel();
    void abandon(); // no more can be seen: ends with what there is

    End end() const { return m_end; }
    Notice notice() const { return m_notice; }

private:
    enum class State {
        opening,  // what lay over the region fades away, then the first frame is joined
        forth,    // a step of ours is under way
        back,     // a step of ours is taken back
        resuming, // an obstacle was there: whatever has moved is the user's doing
        watching  // the user scrolls: in manual mode, or as the place was lost
    };
    enum class Wish { none, finish, finishIfScrolled };

    Order watch(Milliseconds now, const Sight &sight);
    Order rest(Milliseconds now) const;
    Order step(Milliseconds now, State direction, int clicks);
    Order proceed(Milliseconds now);
    Order idle(Milliseconds now);
    Order recover(Milliseconds now, End reason);
    Order endByWish();
    Order endWith(End end);
    Notice obstacle(const Sight &sight) const;
    bool isSettled(Milliseconds now, const Sight &sight) const;
    Milliseconds calm(Milliseconds now) const;
    Milliseconds answerLimit() const;
    void learn(int shift);

    static constexpr int mostClicks = 200; // of a step, for a view that hardly moves

    const Options m_options;
    State m_state = State::opening;
    End m_end = End::open;
    Notice m_notice = Notice::none;
    Wish m_wish = Wish::none;

    struct Step { // the one under way; what is seen without one is timed in the same way
        int clicks = 0;
        std::optional<Milliseconds> since;      // nothing: it begins with the next look
        std::optional<Milliseconds> lastChange; // seen in it
        Milliseconds answer{0};                 // until the first change
        bool moved = false;                     // frames were joined while it was under way
    } m_step;

    struct Pace {                      // what is known of the view, and what it allows
        Milliseconds slowestAnswer{0}; // from a click to the first change, of those that moved something; 0: unknown
        double pixelsPerClick = 0;     // 0: unknown
        int nextClicks = 1;
        int mostClicks = ScrollSession::mostClicks; // of a step, by what went wrong lately
        int smoothSteps = 0;                        // since then
        bool fine = false;                          // even one click is too much: what is seen of a movement is joined
    } m_pace;

    struct Progress {
        int height = 0;          // of the picture, pixels
        bool scrolled = false;   // a frame was joined after the first
        int idleSteps = 0;       // in a row without a shift
        int barrenSteps = 0;     // in a row that did not make the picture taller
        int recoveries = 0;      // since it last grew
        End astray = End::open;  // why the last frame was not joined; open: it was
        End trouble = End::open; // what went wrong last
    } m_progress;
};

} // namespace qm
