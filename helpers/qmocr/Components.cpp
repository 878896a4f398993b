#include "helpers/qmocr/Components.h"

#include <cstdlib>
#include <numeric>

namespace qm::ocr {

static constexpr int evenStep = 2;     // grey levels from one pixel to the next
static constexpr int evenRowStep = 4;  // the same from row to row: bars fade from top to bottom, and are low
static constexpr int shortestEven = 4; // pixels

Components Components::dark(const QImage &gray, int below)
{
    std::vector<Run> runs;
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *in = gray.constScanLine(y);
        for (int x = 0; x < gray.width(); ++x) {
            if (in[x] >= below)
                continue;
            const int left = x;
            while (x < gray.width() && in[x] < below)
                ++x;
            runs.push_back({y, left, x});
        }
    }
    return {runs, [](const Run &above, const Run &run) { return above.left <= run.right && run.left <= above.right; }};
}

Components Components::even(const QImage &gray)
{
    std::vector<Run> runs;
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *in = gray.constScanLine(y);
        for (int x = 0; x < gray.width();) {
            const int left = x++;
            while (x < gray.width() && std::abs(in[x] - in[x - 1]) <= evenStep)
                ++x;
            if (x - left >= shortestEven)
                runs.push_back({y, left, x});
        }
    }
    return {runs, [&](const Run &above, const Run &run) {
                const int left = std::max(above.left, run.left), right = std::min(above.right, run.right);
                const int middle = (left + right) / 2;
                return left < right &&
                       std::abs(gray.constScanLine(above.y)[middle] - gray.constScanLine(run.y)[middle]) <= evenRowStep;
            }};
}

Components::Components(const std::vector<Run> &runs, const Joins &joins)
{
    std::vector<int> parents(runs.size()); // each one's own index, or an earlier run of the same component
    const auto rootOf = [&](int i) {
        while (parents[size_t(i)] != i)
            i = parents[size_t(i)] = parents[size_t(parents[size_t(i)])];
        return i;
    };
    for (size_t i = 0, above = 0; i < runs.size(); ++i) {
        const Run &run = runs[i];
        parents[i] = int(i);
        while (runs[above].y < run.y - 1 || (runs[above].y == run.y - 1 && runs[above].right < run.left))
            ++above;
        for (size_t k = above; runs[k].y == run.y - 1 && runs[k].left <= run.right; ++k) {
            if (!joins(runs[k], run))
                continue;
            const int one = rootOf(int(i)), other = rootOf(int(k));
            parents[size_t(std::max(one, other))] = std::min(one, other);
        }
    }

    std::vector<size_t> sizes(runs.size());
    for (size_t i = 0; i < runs.size(); ++i) {
        parents[i] = parents[size_t(parents[i])]; // which is earlier, and final already
        ++sizes[size_t(parents[i])];
    }
    std::vector<size_t> places(runs.size()); // where the runs of each component go
    std::exclusive_scan(sizes.begin(), sizes.end(), places.begin(), size_t(0));
    m_runs.resize(runs.size());
    for (size_t i = 0; i < runs.size(); ++i)
        m_runs[places[size_t(parents[i])]++] = runs[i];

    for (size_t start = 0, i = 0; i < runs.size(); start += sizes[i++]) {
        if (sizes[i] == 0)
            continue;
        Component component{.box = {}, .runs = std::span(m_runs).subspan(start, sizes[i])};
        int left = runs[i].left, right = runs[i].right;
        for (const Run &run : component.runs) {
            left = std::min(left, run.left);
            right = std::max(right, run.right);
            component.pixels += run.width();
        }
        const int top = component.runs.front().y;
        component.box = QRect(left, top, right - left, component.runs.back().y + 1 - top);
        m_all.push_back(component);
    }
}

} // namespace qm::ocr
