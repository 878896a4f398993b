#include "helpers/qmscroll/Stitcher.h"

#include "helpers/qmscroll/FrameChange.h"
#include "helpers/qmscroll/RowLedger.h"

#include <algorithm>
#include <utility>

namespace qm {

namespace {

// An advertisement may change at every look.
constexpr int mostLooks = 3;
constexpr int headerShare = 3;   // a header takes at most one in so many of a frame's rows
constexpr int strangeShare = 4;  // one in so many rows may have changed by itself
constexpr int repeatedShare = 4; // one in so many of the moving rows is no coincidence

const QRgb *rowOf(const QImage &image, int y)
{
    return reinterpret_cast<const QRgb *>(image.constScanLine(y));
}

} // namespace

// Rows count from the first frame's first row, which is also the picture's.
struct Stitcher::State {
    State(const QSize &frame, Rows sink)
        : size(frame)
        , rows(std::move(sink))
        , held(frame.width())
    {
        known.bottom = frame.height();
    }

    Step add(const QImage &image, Heading heading);
    bool isAlike(const QRgb *row, const QRgb *other) const;
    void take(const Frame &frame, const Placement &place);
    Step join(Frame frame, const Placement &place);
    bool handOver(int end);
    bool showsAgain(const Frame &frame, const Placement &place) const;
    Bands moving() const { return known.moving.any() ? known.moving : Bands().set(); } // before anything has: all
    RowLedger::Part part(const Frame &frame, int from) const { return {frame, moving(), from, known.bottom}; }

    const QSize size;
    const Rows rows;
    HeldRows held;
    RowLedger written;
    Frame last; // joined
    int position = 0;
    int lastShift = 0;
    bool renewed = false;
    Placement::Known known;
    int doubts = 0;       // since the picture has grown
    bool refused = false; // the last frame, for a doubt
    bool looked = false;  // the latest was followed by a look that found nothing changed
    bool failed = false;
};

// Where they move with the page.
bool Stitcher::State::isAlike(const QRgb *row, const QRgb *other) const
{
    for (size_t band = 0; band < bandCount; ++band) {
        const size_t from = columnOf(band, size.width()), to = columnOf(band + 1, size.width());
        if (moving()[band] && !areAlike(row + from, other + from, int(to - from)))
            return false;
    }
    return true;
}

bool Stitcher::State::handOver(int end)
{
    if (end > held.first() && !failed) {
        failed = !rows(held.pixels(held.first(), end));
        for (int row = held.first(); row < end; ++row)
            written.add(held[row]);
        held.drop(end);
    }
    return !failed;
}

// Takes what the frame shows of the page over what was taken before.
void Stitcher::State::take(const Frame &frame, const Placement &place)
{
    const int end = place.at + frame.height();
    if (end < held.end() && place.settled == place.compared) {
        held.take(frame, place.at, place.top, place.compared);
        return;
    }
    held.take(frame, place.at, place.top, frame.height());
    held.cut(end); // what followed does not any more
}

Stitcher::Step Stitcher::State::join(Frame frame, const Placement &place)
{
    const int before = held.end();
    refused = false;
    take(frame, place);
    lastShift = place.at - position;
    renewed = place.renewed;
    position = place.at;
    last = std::move(frame);
    known.moving = place.moving;
    if (lastShift != 0) {
        known.top = place.top;
        known.bottom = place.bottom;
    }
    if (held.end() > before) {
        doubts = 0;
        looked = false;
    } else {
        looked = doubts > 0 && !place.renewed;
    }
    if (!handOver(position - size.height()))
        return Step::failed;
    return lastShift != 0 ? Step::joined : place.renewed ? Step::renewed : Step::still;
}

// True if what would be new is in the picture already, and not because the page repeats itself.
bool Stitcher::State::showsAgain(const Frame &frame, const Placement &place) const
{
    const int fresh = std::max(held.end() - place.at, place.top);
    const RowLedger::Part part{frame, place.moving, fresh, place.bottom};
    return fresh < place.bottom && written.hasWritten(part, (place.bottom - place.top) / repeatedShare);
}

Stitcher::Step Stitcher::State::add(const QImage &image, Heading heading)
{
    failed = failed || image.size() != size || image.format() != QImage::Format_RGB32;
    if (failed)
        return Step::failed;
    Frame frame(image);
    if (last.rows.empty()) {
        held.take(frame, 0, 0, frame.height());
        last = std::move(frame);
        return Step::first;
    }
    known.heading = heading;
    known.looked = looked || doubts >= mostLooks;
    Placement place = Placement::find(held, last, position, frame, known);
    if (place.kind == Placement::Kind::found && !known.looked && showsAgain(frame, place))
        place.kind = Placement::Kind::doubtful;
    switch (place.kind) {
    case Placement::Kind::ambiguous: return Step::ambiguous;
    case Placement::Kind::lost: return Step::lost;
    case Placement::Kind::doubtful:
        doubts += refused ? 0 : 1; // one, however many frames show it
        refused = true;
        looked = false;
        return Step::doubtful;
    case Placement::Kind::found: break;
    }
    return join(std::move(frame), place);
}

Stitcher::Stitcher(const QSize &frame, Rows rows)
    : m_state(std::make_unique<State>(frame, std::move(rows)))
{
}

Stitcher::~Stitcher() = default;

Stitcher::Step Stitcher::add(const QImage &frame, Heading heading)
{
    return m_state->add(frame, heading);
}

bool Stitcher::hasMovedBy(int shift, const QImage &image) const
{
    const State &state = *m_state;
    if (image.size() != state.last.image.size())
        return false;
    for (const int by : {shift, std::max(0, shift - 1), shift + 1}) {
        const int end = state.known.bottom - by;
        int left = (end - state.known.top) / strangeShare; // rows that may differ
        for (int y = state.known.top; y < end && left >= 0; ++y)
            left -= !state.isAlike(rowOf(image, y), rowOf(state.last.image, y + by));
        if (left >= 0 && end > state.known.top)
            return true;
    }
    return false;
}

std::optional<int> Stitcher::find(const QImage &image, int near) const
{
    const State &state = *m_state;
    const Frame frame(image);
    const int from = std::max(state.known.top, frame.height() / headerShare);
    return state.written.find(state.part(frame, from), state.held, near);
}

bool Stitcher::isBeginning(const QImage &image) const
{
    const State &state = *m_state;
    const Frame frame(image);
    return state.written.beginsAlike(state.part(frame, state.known.top), state.held);
}

int Stitcher::height() const
{
    return m_state->held.end();
}

int Stitcher::lastShift() const
{
    return m_state->lastShift;
}

bool Stitcher::renewed() const
{
    return m_state->renewed;
}

int Stitcher::moving() const
{
    return m_state->known.bottom - m_state->known.top;
}

QImage Stitcher::heldRows() const
{
    return m_state->held.pixels(m_state->held.first(), m_state->held.end());
}

bool Stitcher::finish()
{
    State &state = *m_state;
    const bool well = !state.failed && !state.last.rows.empty() && state.handOver(state.held.end());
    state.failed = true; // nothing may follow
    return well;
}

} // namespace qm
