#include "helpers/qmocr/Frames.h"

#include "helpers/qmocr/Components.h"

#include <algorithm>

namespace qm::ocr {

static constexpr int frameBelow = 200; // grey level; frames are often fainter than text

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

void removeFrames(QImage &normalised, int textHeight)
{
    const int unit = std::clamp(textHeight, 8, 32);
    const Components components = Components::dark(normalised, frameBelow);
    for (const Component &component : components.all())
        if (component.box.width() > 10 * unit || component.box.height() > 5 * unit)
            clearFrame(normalised, component, unit);
}

} // namespace qm::ocr
