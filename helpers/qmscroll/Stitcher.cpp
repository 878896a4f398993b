#include "helpers/qmscroll/Stitcher.h"

#include "helpers/qmscroll/FrameMatch.h"

#include <utility>

namespace qm {

// Positions count from the first frame's first row, which is also the picture's: row y of the joined frame is row
// position + y of the content, and rows above `handed` have been handed over.
//
// Rows of a frame are handed over only when the next frame has shown that they move: a bar that slid in over the bottom
// is noticed by then, and the rows below it come from the next frame.
struct Stitcher::State {
    State(const QSize &frame, Rows sink)
        : size(frame)
        , rows(std::move(sink))
        , moving(QPoint(), frame)
    {
    }

    Step add(const QImage &image);
    Step join(const QImage &image, const FrameMatch &match);
    bool handOver(const QImage &frame, int framePosition, int end);

    const QSize size;
    const Rows rows;
    QImage joined;
    int position = 0;
    QImage furthest; // the lowest of all joined frames; on a tie, the latest
    int furthestPosition = 0;
    int handed = 0;
    QRect moving; // the part of the frame known to move
    int lastShift = 0;
    bool failed = false;
};

// Hands over the rows not yet handed over that the frame shows above its row `end`.
bool Stitcher::State::handOver(const QImage &frame, int framePosition, int end)
{
    const int start = handed - framePosition;
    if (start >= end)
        return true;
    const QImage part(frame.constScanLine(start), frame.width(), end - start, frame.bytesPerLine(), frame.format());
    failed = !rows(part);
    handed = framePosition + end;
    return !failed;
}

Stitcher::Step Stitcher::State::join(const QImage &image, const FrameMatch &match)
{
    if (!handOver(joined, position, match.splice))
        return Step::failed;
    joined = image;
    position += match.shift;
    lastShift = match.shift;
    moving = match.part;
    if (position >= furthestPosition) {
        furthest = image;
        furthestPosition = position;
    }
    return Step::joined;
}

Stitcher::Step Stitcher::State::add(const QImage &image)
{
    failed = failed || image.size() != size || image.format() != QImage::Format_RGB32;
    if (failed)
        return Step::failed;
    if (joined.isNull()) {
        joined = furthest = image;
        return Step::first;
    }
    const FrameMatch match = FrameMatch::find(joined, image, moving);
    switch (match.kind) {
    case FrameMatch::Kind::still: return Step::still;
    case FrameMatch::Kind::ambiguous: return Step::ambiguous;
    case FrameMatch::Kind::lost: return Step::lost;
    case FrameMatch::Kind::moved: break;
    }
    return join(image, match);
}

Stitcher::Stitcher(const QSize &frame, Rows rows)
    : m_state(std::make_unique<State>(frame, std::move(rows)))
{
}

Stitcher::~Stitcher() = default;

Stitcher::Step Stitcher::add(const QImage &frame)
{
    return m_state->add(frame);
}

int Stitcher::height() const
{
    return m_state->furthest.isNull() ? 0 : m_state->furthestPosition + m_state->size.height();
}

int Stitcher::lastShift() const
{
    return m_state->lastShift;
}

int Stitcher::position() const
{
    return m_state->position;
}

bool Stitcher::finish()
{
    State &state = *m_state;
    const bool well = !state.failed && !state.furthest.isNull() &&
                      state.handOver(state.furthest, state.furthestPosition, state.size.height());
    state.failed = true; // nothing may follow
    return well;
}

} // namespace qm
