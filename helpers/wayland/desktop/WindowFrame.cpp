#include "helpers/wayland/desktop/WindowFrame.h"

#include <algorithm>
#include <vector>

namespace qm {

// Where something of this length begins, by how much each column (or row) covers: at both its ends, more is covered within than
// without. Shadows fade, and never cover as much as what casts them.
static int beginning(const std::vector<qint64> &covered, int length)
{
    const int last = int(covered.size()) - length;
    const auto at = [&covered](int index) {
        return index < 0 || index >= int(covered.size()) ? 0 : covered[size_t(index)];
    };
    int best = 0;
    qint64 largest = -1;
    for (int begin = 0; begin <= last; ++begin) {
        const int end = begin + length;
        const qint64 steps = at(begin) - at(begin - 1) + at(end - 1) - at(end);
        if (steps > largest) {
            largest = steps;
            best = begin;
        }
    }
    return best;
}

QImage withoutShadow(const QImage &picture, QSize frame)
{
    const QSize size = picture.size().boundedTo(frame);
    if (size == picture.size())
        return picture;
    std::vector<qint64> columns(size_t(picture.width())), rows(size_t(picture.height()));
    for (int y = 0; y < picture.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const int alpha = qAlpha(line[x]);
            columns[size_t(x)] += alpha;
            rows[size_t(y)] += alpha;
        }
    }
    return picture.copy({{beginning(columns, size.width()), beginning(rows, size.height())}, size});
}

} // namespace qm
