#pragma once

#include "helpers/qmscroll/ScrollSession.h"

#include <functional>
#include <vector>

// Views that exist only as numbers, for a session to scroll: how far a wheel click goes, how late and how slowly it shows.

namespace qm::simulated {

using namespace std::chrono_literals;
using Milliseconds = ScrollSession::Milliseconds;
using Order = ScrollSession::Order;
using End = ScrollSession::End;
using Mode = ScrollSession::Mode;
using Notice = ScrollSession::Notice;
using Pointer = ScrollSession::Pointer;
using Step = Stitcher::Step;

class Simulation;

constexpr int region = 600; // pixels of height
constexpr int heightLimit = 8000;
constexpr int allOfIt = -1, somewhere = -2, nowhere = -3;

struct View {
    double pixelsPerClick = 57;
    int page = 6000;              // pixels of height
    Milliseconds answer = 2ms;    // from a click to the first movement
    Milliseconds turning = 0ms;   // the wheel by one click, before it answers
    Milliseconds smooth = 0ms;    // how long a movement takes
    Milliseconds picture = 1ms;   // from one of its pictures to the next
    Milliseconds painting = 0ms;  // and for how long what has come into view still changes
    Milliseconds animation = 0ms; // something small changes that often; 0: nothing does
    bool isAside = false;         // at the right edge
    bool isWide = false;          // so that a frame shows what is new, though it has not moved
    int blankFrom = 0;            // where, for 700 pixels, only steps up to 60 can be joined; 0: nowhere
    bool isPaintedLate = false;   // it only was not painted, and is when it is taken again
    bool springsBack = false;
    int stallsAt = 0; // once it is this far down, no click is answered for a while; 0: never
    Milliseconds stall = 450ms;
    int pausesAt = 0;       // once it is this far down, a movement stands still for 60 ms on its way; 0: none
    int changesAt = 0;      // once it is this far down, nothing matches what was there before; 0: never
    bool settles = false;   // but not when it is taken again
    bool goesAway = false;  // and it does not move any more
    int growsAt = 0;        // there 300 pixels appear when it has left the view, which stays where it is; 0: nowhere
    int fillsAt = 0;        // there 100 pixels change when they have left the view; 0: nowhere
    bool isDeaf = false;    // only the user's wheel moves it
    bool sticks = false;    // once it is to be taken again
    int losesIn = 0;        // two clicks are lost of the so-many-th turn by more than ten; 0: none
    bool beginsLow = false; // what is further up was not in the region at first
    int loads = 0;          // so often more appears at its end, this long after it was reached
    int more = 900;         // pixels
    Milliseconds loading = 500ms;
    Milliseconds sign = 0ms;         // that it does; 0: none but what it has loaded
    bool isSilent = false;           // without a sign
    bool isImpatient = false;        // only while its end is in view
    Milliseconds answerToMany = 0ms; // from clicks by more than 700 pixels to the first movement; 0: as to others
    int losesAt = 0;                 // once it is this far down, one step goes two clicks less far; 0: none
};

// What the user does, and when.
struct Event {
    Milliseconds at;
    std::function<void(ScrollSession &, Simulation &)> act;
};

struct Case {
    View view = {};
    std::vector<Event> events = {};
    Mode mode = Mode::automatic;
    End end = End::content;
    int furthest = allOfIt;
    int milliseconds = 0; // at most
    Notice notice = Notice::none;
};

class Simulation
{
public:
    explicit Simulation(const Case &of);

    // The wheel turned, by whomever.
    void move(double by);

    int page() const { return view.page + view.more * m_loads + m_grown; }

    const View view;
    Pointer pointer = Pointer::inside;
    bool held = false;
    Milliseconds now{0};
    End end = End::open;
    Notice notice = Notice::none; // the last there was
    bool isPatient = true;        // no click while something is in the way
    std::vector<int> joins;       // positions of the frames that were joined
    int furthest = nowhere;       // of these
    bool moving = false;          // a frame was joined in the middle of a movement
    bool stale = false;

private:
    void turn(int clicks);
    int signs() const { return view.isSilent ? 0 : m_loads + m_hasSign; } // of what has loaded
    int position() const;

    // The row of the picture with which the region begins.
    int shown() const;
    std::optional<int> find() const;
    Order beginAgain();
    void grow();

    bool isPainting() const { return now - m_moved < m_answer + view.smooth + view.painting; }

    void loadMore();
    ScrollSession::Sight sight();
    Order join(const Order &order);

    const Mode m_mode;
    int m_longTurns = 0;
    int m_loads = 0, m_joinedSigns = 0, m_grown = 0;
    bool m_isAgain = false, m_hasLost = false, m_hasSign = false;
    std::optional<Milliseconds> m_endReached;
    ScrollSession m_session;
    double m_from = 0, m_to = 0;
    Milliseconds m_moved{-10'000}, m_answer{0};
    std::optional<Milliseconds> m_stallEnd;
    std::pair<int, int> m_frame{-1, 0}, m_joined{-1, 0};
    int m_at = 0; // the stitcher's place
};

// A view that answers at once and goes as far as expected.
class EvenView
{
public:
    explicit EvenView(int limit = 30'000);
    Order next();
    Order joined(Step step);

    ScrollSession session;
    int height = region;

private:
    Milliseconds m_now{0};
    int m_clicks = 0, m_ahead = 0;
};

} // namespace qm::simulated
