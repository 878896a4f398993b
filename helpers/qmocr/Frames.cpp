#include "helpers/qmocr/Frames.h"

#include "helpers/qmocr/Components.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <vector>

namespace qm::ocr {

static constexpr int frameBelow = 200;  // grey level; frames are often fainter than text
static constexpr int barLevels = 8;     // by which a bar may differ from itself
static constexpr int fewestLevels = 48; // by which something on a bar differs from it

// Clears the long straight parts of a frame or line, and whatever small bits then remain of it.
static void clearFrame(QImage &normalised, const Component &component, int unit)
{
    const QRect box = component.box;
    const int longRow = 8 * unit, longColumn = 5 * unit / 2;
    std::vector<int> columns(size_t(box.width())); // how far down a column of dark pixels goes on, at the current row
    QImage mask(box.size(), QImage::Format_Grayscale8); // 0: remains, 100: cleared, 255: none of it
    mask.fill(255);
    for (const Run &run : component.runs)
        std::fill_n(mask.scanLine(run.y - box.top()) + run.left - box.left(), run.width(),
                    uchar(run.width() >= longRow ? 100 : 0));
    for (int y = 0; y <= box.height(); ++y) {
        for (int x = 0; x < box.width(); ++x) {
            if (y < box.height() && mask.constScanLine(y)[x] < 255) {
                ++columns[size_t(x)];
            } else {
                if (columns[size_t(x)] >= longColumn)
                    for (int k = y - columns[size_t(x)]; k < y; ++k)
                        mask.scanLine(k)[x] = 100;
                columns[size_t(x)] = 0;
            }
        }
    }
    const auto clear = [&](const Run &run) {
        std::fill_n(normalised.scanLine(box.top() + run.y) + box.left() + run.left, run.width(), uchar(255));
    };
    const Components rest = Components::dark(mask, 50);
    for (const Component &bit : rest.all())
        if (const int size = std::max(bit.box.width(), bit.box.height());
            size < unit * 6 / 10 || bit.box.height() < 3 || (size < 5 * unit / 4 && bit.pixels < 9 * size / 5))
            for (const Run &run : bit.runs)
                clear(run);
    for (int y = 0; y < box.height(); ++y) {
        const uchar *in = mask.constScanLine(y);
        uchar *out = normalised.scanLine(box.top() + y) + box.left();
        for (int x = 0; x < box.width(); ++x)
            if (in[x] == 100)
                out[x] = 255;
    }
}

namespace {

struct BarRow {
    std::span<uchar> pixels; // from the bar's first to its last
    int level;               // that most of the bar has here
};

} // namespace

static int mostFrequentLevel(std::span<const uchar> pixels)
{
    std::array<int, frameBelow> counts{};
    for (const uchar pixel : pixels)
        if (pixel < frameBelow)
            ++counts[pixel];
    return int(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

// None if the component is not straight at both ends, or has many levels in a row.
static std::vector<BarRow> barRowsOf(QImage &normalised, const Component &component)
{
    const QRect box = component.box;
    const int slack = std::max(2, box.height() / 4);
    std::vector<BarRow> rows;
    qint64 alike = 0;
    int straight = 0;
    for (auto run = component.runs.begin(); run != component.runs.end();) {
        const int y = run->y, left = run->left;
        int right = run->right;
        for (; run != component.runs.end() && run->y == y; ++run)
            right = run->right;
        const std::span pixels(normalised.scanLine(y) + left, size_t(right - left));
        const int level = mostFrequentLevel(pixels);
        rows.push_back({pixels, level});
        alike += std::count_if(pixels.begin(), pixels.end(),
                               [level](uchar pixel) { return std::abs(pixel - level) <= barLevels; });
        straight += left <= box.left() + slack && right + slack > box.right();
    }
    if (straight * 5 < box.height() * 4 || alike * 2 < qint64(box.width()) * box.height())
        rows.clear();
    return rows;
}

// What stands on a bar that leaves no room around it, and so is no surface, becomes dark on white. False if this is no
// such bar.
static bool clearBar(QImage &normalised, const Component &component, int unit)
{
    const int width = component.box.width(), height = component.box.height();
    // A single letter may be like a narrow bar, but does not fill as much.
    const int leastPercent = width < 2 * height ? 75 : 50;
    if (height < unit || height > 5 * unit || width * 5 < height * 6 ||
        component.pixels * 100 < qint64(width) * height * leastPercent)
        return false;
    const std::vector<BarRow> rows = barRowsOf(normalised, component);
    int contrast = 0;
    for (const BarRow &row : rows)
        for (const uchar pixel : row.pixels)
            contrast = std::max(contrast, std::abs(pixel - row.level));
    if (contrast < fewestLevels) // nothing is on it
        return false;
    for (const BarRow &row : rows) {
        for (uchar &pixel : row.pixels)
            pixel = uchar(255 - std::abs(pixel - row.level) * 220 / contrast);
        row.pixels.front() = row.pixels.back() = 255; // a mixture of both sides
    }
    return true;
}

void removeFrames(QImage &normalised, int textHeight)
{
    const int unit = std::clamp(textHeight, 8, 32);
    const Components components = Components::dark(normalised, frameBelow);
    for (const Component &component : components.all())
        if (!clearBar(normalised, component, unit) &&
            (component.box.width() > 10 * unit || component.box.height() > 5 * unit))
            clearFrame(normalised, component, unit);
}

} // namespace qm::ocr
