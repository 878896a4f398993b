#include "annotate/render/Pixellate.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace qm {

using Pixellate::Cells;

Cells Pixellate::cellsFor(const QRect &region)
{
    const double side = std::min(region.width(), region.height()) * 0.0625;
    return {QRectF(region).center(), std::clamp(side, 8.0, 20.0)};
}

// First pixels of the cells that cover from..to - 1, plus the end of the last cell, all clamped to 0..limit.
static std::vector<int> cellEdges(double anchor, double size, int from, int to, int limit)
{
    const auto edge = [&](double index) { return int(std::ceil(anchor + index * size - 0.5)); };
    double index = std::floor((from + 0.5 - anchor) / size);
    while (edge(index) > from)
        --index;
    std::vector<int> edges;
    for (;; ++index) {
        edges.push_back(std::clamp(edge(index), 0, limit));
        if (edge(index) >= to)
            return edges;
    }
}

static void addRow(quint16 *__restrict sums, const uchar *__restrict row, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        sums[i] = quint16(sums[i] + row[i]);
}

// Adds rows down each column, four at a time, because reading and writing the sums costs more than reading a row.
static void addRows(quint16 *__restrict sums, const uchar *row, qsizetype stride, int count, int bytes)
{
    for (; count >= 4; count -= 4, row += 4 * stride) {
        const uchar *__restrict a = row, *__restrict b = a + stride, *__restrict c = b + stride,
                                *__restrict d = c + stride;
        for (int i = 0; i < bytes; ++i)
            sums[i] = quint16(sums[i] + a[i] + b[i] + c[i] + d[i]);
    }
    for (; count > 0; --count, row += stride)
        addRow(sums, row, bytes);
}

static quint32 mean(const quint16 *sums, int columns, int rows)
{
    quint32 channels[4] = {};
    for (int x = 0; x < columns; ++x) {
        for (int c = 0; c < 4; ++c)
            channels[c] += sums[4 * x + c];
    }
    const quint32 count = quint32(columns) * quint32(rows);
    uchar bytes[4];
    for (int c = 0; c < 4; ++c)
        bytes[c] = uchar((channels[c] + count / 2) / count);
    quint32 pixel;
    std::memcpy(&pixel, bytes, 4);
    return pixel;
}

void Pixellate::pixellate(const QImage &source, const Cells &cells, QPoint corner, QImage &result)
{
    const QRect area(corner, result.size());
    const QRect inside = area & source.rect();
    if (inside != area)
        result.fill(Qt::transparent);
    if (inside.isEmpty())
        return;

    const auto columns = cellEdges(cells.anchor.x(), cells.size, inside.left(), inside.right() + 1, source.width());
    const auto rows = cellEdges(cells.anchor.y(), cells.size, inside.top(), inside.bottom() + 1, source.height());
    const int left = columns.front();
    const int bytes = (columns.back() - left) * 4;

    QImage strip = source; // other formats are converted one row of cells at a time
    const bool opaque = source.format() == QImage::Format_RGB32;
    const bool direct = opaque || source.format() == QImage::Format_ARGB32_Premultiplied;
    std::vector<quint16> sums(static_cast<size_t>(bytes)); // per column; a cell has at most 21 rows
    for (size_t cellRow = 0; cellRow + 1 < rows.size(); ++cellRow) {
        const int top = rows[cellRow];
        const int height = rows[cellRow + 1] - top;
        if (!direct) {
            strip = source.copy(left, top, bytes / 4, height).convertToFormat(QImage::Format_ARGB32_Premultiplied);
            if (strip.isNull())
                return;
        }
        std::fill(sums.begin(), sums.end(), 0);
        const QImage &from = direct ? source : strip;
        addRows(sums.data(), from.constScanLine(direct ? top : 0) + (direct ? left * 4 : 0), from.bytesPerLine(),
                height, bytes);

        const int firstRow = std::max(top, inside.top());
        const int endRow = std::min(top + height, inside.bottom() + 1);
        auto *first = reinterpret_cast<quint32 *>(result.scanLine(firstRow - area.top())) - area.left();
        for (size_t cell = 0; cell + 1 < columns.size(); ++cell) {
            const int x = columns[cell];
            const int width = columns[cell + 1] - x;
            const quint32 pixel = mean(sums.data() + (x - left) * 4, width, height) | (opaque ? 0xff000000u : 0);
            std::fill(first + std::max(x, inside.left()), first + std::min(x + width, inside.right() + 1), pixel);
        }
        const uchar *filled = reinterpret_cast<const uchar *>(first + inside.left());
        for (int y = firstRow + 1; y < endRow; ++y)
            std::memcpy(result.scanLine(y - area.top()) + (inside.left() - area.left()) * 4, filled,
                        size_t(inside.width()) * 4);
    }
}

} // namespace qm
