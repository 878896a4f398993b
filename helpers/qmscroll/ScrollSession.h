#pragma once

#include "helpers/qmscroll/LookBack.h"
#include "helpers/qmscroll/Stitcher.h"

#include <chrono>
#include <optional>

namespace qm {

// Decides, step by step, what a scrolling capture does next: when a frame is worth joining, by how many wheel clicks to
// scroll, when to go back, to pause, to end. It has no display and no clock: time and observations are arguments.
//
//     Order order = session.look(now, sight);
//     if (order.kind == Order::Kind::join) {
//         ...                                   // order.clicks of the wheel, if any
//         order = session.joined(now, {stitcher.add(frame, order.heading), stitcher.lastShift(), ...});
//     }
//     if (order.kind == Order::Kind::scroll)
//         ...                                   // order.clicks of the wheel
//     ...                                       // and look again after order.wait
//
// The end of the page is not the end: a few looks further up tell whether it is still as it was taken. If not, all of it is
// taken once more, as by then it has loaded.
class ScrollSession
{
public:
    using Milliseconds = std::chrono::milliseconds;
    enum class Mode { automatic, manual }; // manual: the user scrolls, the session only watches
    enum class Pointer { inside, overPanel, away };
    enum class End {
        open,
        content,    // there is nothing more to scroll
        height,     // the picture has reached the height limit
        wish,       // the user asked to finish
        cancelled,  // the user wants no picture
        changed,    // the page has changed what was already taken
        ambiguous,  // from here on more than one alignment fits
        lost,       // from here on none does
        unanswered, // the view answers the wheel no more, neither forth nor back
        failed      // rows could not be stored
    };
    enum class Notice {
        none,
        pointerAway,
        pointerOverPanel,
        keyHeld,
        otherWindow,
        placeLost,
        wheelDoesNothing // the user may scroll instead
    };                   // why it does not get on
    enum class Activity {
        scrolling,
        waiting,
        lookingBack,
        again
    }; // waiting: for what loads; again: from the beginning

    struct Options {
        Mode mode = Mode::automatic;
        int regionHeight = 0; // pixels
        int heightLimit = 0;
    };
    // What a look at the screen found.
    struct Sight {
        bool changed = false; // the frame differs from the previous look's
        bool aside = false;   // but only where a scroll bar can be
        bool fresh = false;   // it differs from the last frame passed to the stitcher
        bool arrived = false; // it is as far from the last joined frame as expectedShift() says
        bool trusted = false; // it equals what was visible before our windows covered anything
        bool covered = false; // where our windows were, the program below has not painted yet
        Pointer pointer = Pointer::inside;
        bool held = false;    // a button is down, or a key that changes what the wheel does
        bool strange = false; // another window than at first lies under the pointer, and would get the wheel
    };
    struct Order {
        enum class Kind {
            look,
            join, // the frame; ends with joined()
            find, // where it lies, without joining it; goes on with found(), perhaps to find it again nearer to another row
            again, // it is the beginning of a new picture: join it there
            scroll,
            end
        } kind = Kind::look;
        int clicks = 0;                 // wheel clicks, negative: up; for join: before the frame is joined
        Milliseconds wait{0};           // until the next look
        Heading heading = Heading::any; // for join: where the frame can lie
        int near = 0;                   // for find: the row of the picture with which it should begin
    };
    // What became of Order::Kind::join. Pixels.
    struct Joint {
        Stitcher::Step step;
        int shift = 0;        // of this step
        int height = 0;       // of the picture so far
        int moving = 0;       // height of the part of the region that moves
        bool renewed = false; // part of what was taken before had changed
    };

    struct Found {
        std::optional<int> at;    // the row of the picture with which the frame begins
        bool isBeginning = false; // it begins as the picture does
    };

    explicit ScrollSession(const Options &options);

    Order look(Milliseconds now, Sight sight);
    Order joined(Milliseconds now, const Joint &joint); // reports the result of Order::Kind::join
    Order found(Milliseconds now, const Found &found);  // and of Order::Kind::find

    // By how many pixels the page is going to be away from the last joined frame after the step under way.
    std::optional<int> expectedShift() const; // empty: unknown

    void turned(Milliseconds now); // the wheel, as told; many clicks take a while

    // These take effect at the next look.
    void finish();         // still joins what is on the screen
    void finishOrCancel(); // the same, but without a picture if nothing has scrolled
    void cancel();
    void abandon(); // nothing more can be seen: ends with what there is

    End end() const { return m_end; }
    Notice notice() const { return m_notice; }
    Mode mode() const { return m_mode; } // manual also where the wheel does nothing
    Activity activity() const;
    // What became of the picture that was given up for another from the beginning.
    End earlierEnd() const { return m_earlierEnd; }
    // The page loads so late that the picture may show some of it as it was before.
    bool mayBeStale() const { return m_progress.stale; }

private:
    enum class State {
        opening,   // whatever covered the region fades away, then the first frame is joined
        forth,     // one of our steps is under way
        back,      // one of our steps is being undone
        resuming,  // after an obstacle: any movement was the user's doing
        watching,  // the user scrolls: in manual mode, or because we lost our place
        checking,  // the end was reached; looks further up
        returning, // from there
        rewinding  // to the beginning
    };
    enum class Wish { none, finish, finishIfScrolled };

    Order watch(Milliseconds now, const Sight &sight);
    Order join() const;
    Order joinAndTurn(const Sight &sight);
    Order joinWhereItIs();
    Order rest(Milliseconds now) const;
    Order step(Milliseconds now, State direction, int clicks);
    Order undo(Milliseconds now);
    Order proceed(Milliseconds now);
    Order idle(Milliseconds now);
    bool mayGoOn(bool isMovie) const;
    bool isChecked() const;
    Order offerTheWheel(Milliseconds now);
    Order rewind(Milliseconds now, const Found &found);
    Order checked(Milliseconds now, const Found &found);
    Order returned(Milliseconds now, const Found &found);
    Order proveAgain(Milliseconds now);
    Order goOnFrom(Milliseconds now, int row);
    Order returnFrom(Milliseconds now, int row);
    Order endUnproven();
    Order giveUp(Milliseconds now, End reason);
    bool isProving() const;
    bool isLookingBack() const;
    Order recover(Milliseconds now, End reason);
    Order endByWish();
    Order endWith(End end);
    Notice obstacle(const Sight &sight) const;
    bool isSettled(Milliseconds now, const Sight &sight) const;
    Milliseconds calm(Milliseconds now) const;
    Milliseconds neededCalm() const;
    bool neverRests(Milliseconds now) const;
    Milliseconds answerLimit() const;
    void learn(const Joint &joint);

    static constexpr Milliseconds restInterval{30};  // while nothing happens
    static constexpr Milliseconds longestJump{2000}; // over many heights, on a slow machine
    static constexpr Milliseconds loadTime{2000};    // in which a list may load more
    static constexpr int changesOfACaret = 5;        // while a step shows that nothing moves
    static constexpr Milliseconds timeToPaint{5000}; // for a browser whose page keeps it busy
    static constexpr int mostClicks = 200;           // per step, for a view that hardly moves

    const Options m_options;
    Mode m_mode;
    State m_state = State::opening;
    End m_end = End::open;
    Notice m_notice = Notice::none;
    Wish m_wish = Wish::none;

    struct Step { // the current step; observations outside a step are timed in the same way
        int clicks = 0;
        std::optional<Milliseconds> since;      // empty until the next look starts the step
        std::optional<Milliseconds> lastChange; // during the step
        Milliseconds answer{0};                 // time until the first change
        int changes = 0;                        // looks that found one, but for a scroll bar that fades
        Milliseconds pause{0};                  // the longest between two of them
        std::optional<Milliseconds> arrived;    // since when it is where it was expected, and does not change
        std::optional<int> doubted;             // looking back, the row that was not expected; -1: none
        bool isFirstAnswer = false;             // looking back, the view has begun to go back
        bool moved = false;                     // frames were joined during the step
        bool isInterrupted = false;             // looking back, changes during an obstacle were not seen
        bool news = false;                      // nothing moved, but something new appeared
        int ahead = 0;                          // clicks of the next step, turned while this one's frame is joined
        std::optional<Milliseconds> aheadSince;
        bool isUncounted = false; // more clicks than these have led to where it is
    } m_step;

    struct Pace {                      // what is known of the view, and what it allows
        Milliseconds slowestAnswer{0}; // from a click to the first change, over steps that moved something; 0: unknown
        double pixelsPerClick = 0;     // 0: unknown
        int nextClicks = 1;
        int mostClicks = ScrollSession::mostClicks; // per step, reduced after trouble
        int smoothSteps = 0;                        // since then
        bool isSteady = false;                      // the last step was as large as the next
        Milliseconds patience{0};                   // a page that loads late has to be still for that long
        bool fine = false;                          // even one click is too much: join frames in mid-movement
    } m_pace;

    struct Progress {
        int height = 0;             // of the picture, pixels
        int position = 0;           // the picture's row with which the last joined frame begins
        int checkedHeight = 0;      // when the page was looked at from further up; 0: not yet
        int heightOfHang = 0;       // when it answered late
        int heightOfReturn = 0;     // when it did not come back as far as it had been
        End reached = End::content; // before going back to the beginning
        int rewinds = 0;            // steps towards it
        bool isCut = false;         // it has been higher
        bool scrolled = false;      // a frame was joined after the first one, in this take or an earlier one
        bool stale = false;         // see mayBeStale()
        int idleSteps = 0;          // consecutive steps without a shift
        std::optional<Milliseconds> idleSince{}; // what loads has been waited for
        bool hesitates = false;                  // after such steps it went on
        int news = 0;           // steps without a shift that showed something new, since the picture last grew
        int vainLooks = 0;      // consecutive ones that found nothing changed
        int recoveries = 0;     // since the picture last grew
        bool changes = false;   // one of them was because of what the page has changed
        End astray = End::open; // why the last frame was not joined; open if it was
    } m_progress;

    struct Check { // how looking back goes on
        enum class Scope {
            rows,             // are all as they were taken
            answer,           // to the wheel: nothing is known of the rows
            answerBesideMovie // nor can be
        } scope = Scope::rows;
        bool hasAnswered = false;
        bool hasHung = false;     // before it has
        bool isVerifying = false; // that clicks were lost
        int lookedAt = -1;        // the row found last
        int hangs = 0;            // waits for an answer
    } m_check;

    LookBack m_lookBack;
    // Something changed, other than by moving, that was in view: it may have where it no longer was.
    bool m_isUnsteady = false;
    End m_earlierEnd = End::open;
    int m_earlierHeight = 0;
    int m_takesAgain = 0;                   // from the beginning, so far
    std::optional<Milliseconds> m_offerEnd; // until then the user may begin to scroll
};

} // namespace qm
