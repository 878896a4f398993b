#include "helpers/qmocr/Surfaces.h"

#include "helpers/qmocr/Components.h"

#include <algorithm>
#include <climits>

namespace qm::ocr {

// In pixels. Strokes of letters are even, too; but letters with strokes of this size are rare.
static constexpr int wideRow = 36;
static constexpr int wideRows = 14;
static constexpr int lowest = 10; // of a surface with text on it

namespace {

// What a surface takes of a row, from its first pixel to its last.
struct Span {
    int left = INT_MAX, right = 0; // right is not included
    int longest = 0;               // its longest run

    int width() const { return right - left; }
};

} // namespace

static std::vector<Span> spansOf(const Component &component)
{
    std::vector<Span> spans(size_t(component.box.height()));
    for (const Run &run : component.runs) {
        Span &span = spans[size_t(run.y - component.box.top())];
        span.left = std::min(span.left, run.left);
        span.right = std::max(span.right, run.right);
        span.longest = std::max(span.longest, run.width());
    }
    return spans;
}

// Something like a button: straight along the top and the bottom, mostly filled, and with something on it.
static bool isLabel(const Component &component, const std::vector<Span> &spans)
{
    const int width = component.box.width(), height = component.box.height();
    const int edge = std::max(1, height / 8);
    const auto isStraight = [&](int from, int to) {
        return std::any_of(spans.begin() + from, spans.begin() + to,
                           [&](const Span &span) { return span.longest >= width * 6 / 10; });
    };
    if (!isStraight(0, edge) || !isStraight(height - edge, height))
        return false;
    qint64 area = 0;
    for (const Span &span : spans)
        area += std::max(0, span.width());
    const qint64 on = area - component.pixels;
    return on * 20 > area && on * 3 < area * 2 && area * 10 > qint64(width) * height * 8;
}

static bool isSurface(const Component &component)
{
    const int width = component.box.width(), height = component.box.height();
    if (height < lowest || width < 2 * lowest)
        return false;
    const std::vector<Span> spans = spansOf(component);
    const auto isWide = [](const Span &span) { return span.longest >= wideRow; };
    if (std::count_if(spans.begin(), spans.end(), isWide) >= wideRows)
        return true;
    return width * 4 >= height * 5 && isLabel(component, spans);
}

// Where letters leave no room beside them, the surface goes as far as it does above and below them.
static void closeDents(std::vector<Span> &spans)
{
    static constexpr int deepest = 24; // rows of a dent
    const std::vector<Span> before = spans;
    for (int y = 0; y < int(spans.size()); ++y) {
        Span above = before[size_t(y)], below = above;
        for (int k = 1; k <= deepest; ++k) {
            if (y >= k) {
                above.left = std::min(above.left, before[size_t(y - k)].left);
                above.right = std::max(above.right, before[size_t(y - k)].right);
            }
            if (y + k < int(spans.size())) {
                below.left = std::min(below.left, before[size_t(y + k)].left);
                below.right = std::max(below.right, before[size_t(y + k)].right);
            }
        }
        spans[size_t(y)].left = std::max(above.left, below.left);
        spans[size_t(y)].right = std::min(above.right, below.right);
    }
}

// The surface's own levels; between its runs the levels at their ends, and beside them those of the row above.
static void paint(QImage &levels, const QImage &gray, const Component &surface)
{
    std::vector<Span> spans = spansOf(surface);
    closeDents(spans);
    auto run = surface.runs.begin();
    for (int y = surface.box.top(); y <= surface.box.bottom(); ++y) {
        const Span &span = spans[size_t(y - surface.box.top())];
        const uchar *in = gray.constScanLine(y), *above = levels.constScanLine(std::max(y - 1, surface.box.top()));
        uchar *out = levels.scanLine(y);
        std::copy(above + span.left, above + run->left, out + span.left);
        for (int x = run->left; run != surface.runs.end() && run->y == y; ++run) {
            const int from = in[x], to = in[run->left], width = run->left - x;
            for (int i = 1; i < width; ++i)
                out[x + i] = uchar(from + (to - from) * i / width);
            std::copy(in + run->left, in + run->right, out + run->left);
            x = run->right - 1;
        }
        std::copy(above + std::prev(run)->right, above + span.right, out + std::prev(run)->right);
    }
}

// Pixels between two surfaces that are a mixture of both, at round corners for example, belong to their edge.
static void smoothEdges(QImage &levels, const QImage &gray, const QImage &covered)
{
    static constexpr int widest = 3; // pixels of an edge
    const auto along = [&](int length, const auto &at, const auto &isCovered, const auto &set) {
        for (int i = 1; i < length; ++i) {
            if (isCovered(i) || !isCovered(i - 1))
                continue;
            int end = i;
            while (end < length && end - i <= widest && !isCovered(end))
                ++end;
            if (end == length || end - i > widest)
                continue;
            const auto [low, high] = std::minmax({at(i - 1), at(end)});
            for (int k = i; k < end; ++k)
                if (high - low > 8 && at(k) >= low && at(k) <= high)
                    set(k);
            i = end;
        }
    };
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *in = gray.constScanLine(y), *mask = covered.constScanLine(y);
        uchar *out = levels.scanLine(y);
        along(
            gray.width(), [&](int x) { return int(in[x]); }, [&](int x) { return mask[x] != 0; },
            [&](int x) { out[x] = in[x]; });
    }
    const auto stride = gray.bytesPerLine(), maskStride = covered.bytesPerLine(), outStride = levels.bytesPerLine();
    for (int x = 0; x < gray.width(); ++x) {
        const uchar *in = gray.constBits() + x, *mask = covered.constBits() + x;
        uchar *out = levels.bits() + x;
        along(
            gray.height(), [&](int y) { return int(in[y * stride]); }, [&](int y) { return mask[y * maskStride] != 0; },
            [&](int y) { out[y * outStride] = in[y * stride]; });
    }
}

QImage grounds(const QImage &gray, QImage otherwise)
{
    QImage levels = std::move(otherwise);
    const Components even = Components::even(gray);
    std::vector<const Component *> surfaces;
    for (const Component &component : even.all())
        if (isSurface(component))
            surfaces.push_back(&component);
    // What stands on a surface is painted over it.
    const auto area = [](const Component *surface) { return qint64(surface->box.width()) * surface->box.height(); };
    std::stable_sort(surfaces.begin(), surfaces.end(),
                     [&](const Component *a, const Component *b) { return area(a) > area(b); });
    QImage covered(gray.size(), QImage::Format_Grayscale8);
    covered.fill(0);
    for (const Component *surface : surfaces) {
        paint(levels, gray, *surface);
        for (const Run &run : surface->runs)
            std::fill(covered.scanLine(run.y) + run.left, covered.scanLine(run.y) + run.right, uchar(1));
    }
    smoothEdges(levels, gray, covered);
    return levels;
}

} // namespace qm::ocr
