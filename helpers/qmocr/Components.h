#pragma once

#include <QImage>
#include <QRect>

#include <functional>
#include <span>
#include <vector>

namespace qm::ocr {

// Pixels in a row, from left up to but not including right.
struct Run {
    int y, left, right;

    int width() const { return right - left; }
};

// A connected part of a picture.
struct Component {
    QRect box;
    qint64 pixels = 0;
    std::span<const Run> runs = {}; // by row, then from left to right; as long as the Components live
};

// The connected parts of an 8-bit grey picture, as runs. Any thread. A null picture has none.
class Components
{
public:
    // What is below the grey level: letters, parts of letters, lines. Neighbours across corners count.
    static Components dark(const QImage &gray, int below);
    // Where the level hardly changes from pixel to pixel: the surfaces that text stands on, gradients too. What is narrower
    // than four pixels is left out.
    static Components even(const QImage &gray);

    Components(Components &&) = default;
    Components &operator=(Components &&) = default;

    const std::vector<Component> &all() const { return m_all; } // by their topmost pixels

private:
    using Joins = std::function<bool(const Run &above, const Run &run)>;
    Components(const std::vector<Run> &runs, const Joins &joins); // runs by row, then from left to right

    std::vector<Run> m_runs;
    std::vector<Component> m_all;
};

} // namespace qm::ocr
