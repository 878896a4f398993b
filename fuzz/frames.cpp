// A libFuzzer target: whatever a region shows while it is scrolled, a stitcher hands over as many rows as it says, never
// places a frame out of sight of those it holds, and only where at least as many rows agree with the page as do not. The
// first bytes are a page, a byte a row; of the rest each pair is a frame: where it stands on the page, and which of its
// rows has changed, if any. Where the page repeats itself, so that a frame lies where it does not stand, no more follow.

#include "helpers/qmscroll/Stitcher.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

using namespace qm;

static constexpr int width = 24, height = 40, pageRows = 160;

static QImage frameAt(const uint8_t *page, int offset, int changed)
{
    QImage frame(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        const quint32 row = y == changed ? 999 : page[offset + y];
        for (int x = 0; x < width; ++x)
            frame.setPixel(x, y, 0xff000000 | ((row + 1) * quint32(x + 7) * 2654435761U) >> 8);
    }
    return frame;
}

// Of the frame at `offset`, seen as if it were the one at `claimed`, by the page's rows that have been shown so far.
static bool isPlausible(const uint8_t *page, int offset, int claimed, int from, int to)
{
    int agree = 0, differ = 0;
    for (int y = std::max(0, from - claimed); y < std::min(height, to - claimed); ++y)
        ++(page[offset + y] == page[claimed + y] ? agree : differ);
    return agree > 0 && agree >= differ;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < pageRows)
        return 0;
    int rows = 0;
    Stitcher stitcher({width, height}, [&](const QImage &given) {
        if (given.width() != width || given.format() != QImage::Format_RGB32)
            std::abort();
        rows += given.height();
        return true;
    });
    int at = -1, from = 0, to = 0; // of the last frame that was placed, and what they have shown
    for (size_t i = pageRows; i + 1 < size; i += 2) {
        const int offset = data[i] % (pageRows - height + 1), changed = data[i + 1] % (4 * height);
        const auto heading = data[i + 1] & 0x80 ? Heading::forward : Heading::any;
        const Stitcher::Step step = stitcher.add(frameAt(data, offset, changed), heading);
        const bool isPossible = step != Stitcher::Step::failed && std::abs(stitcher.lastShift()) < 3 * height &&
                                stitcher.moving() <= height && stitcher.height() > 0 &&
                                rows + stitcher.heldRows().height() == stitcher.height();
        if (!isPossible)
            std::abort();
        if (step == Stitcher::Step::first) {
            at = from = offset;
            to = at + height;
        } else if (step == Stitcher::Step::joined) {
            at += stitcher.lastShift();
            if (at != offset && !isPlausible(data, offset, at, from, to))
                std::abort();
            if (at != offset)
                break; // the page repeats itself
            from = std::min(from, at);
            to = std::max(to, at + height);
        }
    }
    const int promised = stitcher.height();
    if (stitcher.finish() != (promised > 0) || rows != promised)
        std::abort();
    return 0;
}
