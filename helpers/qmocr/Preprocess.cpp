#include "helpers/qmocr/Preprocess.h"

#include "helpers/qmocr/Surfaces.h"

#include <QList>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

namespace qm::ocr {

static constexpr int tileEdge = 8;     // pixels
static constexpr int reach = 8;        // tiles on either side that determine a tile's background
static constexpr int bins = 64;        // of four grey levels each
static constexpr int groundBins = 13;  // that the levels of one ground are taken to cover
static constexpr int minContrast = 48; // grey levels; anything less is noise and stays faint
static constexpr int noiseRoom = 20;   // times what most pixels of a noisy ground exceed, hardly any of them does
static constexpr int mostNoise = 160;
static constexpr int fullContrast = 220;
static constexpr int fewestLetters = 20;
static constexpr double bestHeight = 20; // pixels

QImage toGray(const QImage &picture)
{
    static constexpr int band = 64;
    QImage gray(picture.size(), QImage::Format_Grayscale8);
    for (int top = 0; top < gray.height(); top += band) {
        const int rows = std::min(band, gray.height() - top);
        QImage part(picture.constScanLine(top), picture.width(), rows, picture.bytesPerLine(), picture.format());
        part.setColorTable(picture.colorTable());
        part = std::move(part).convertToFormat(QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < rows; ++y) {
            const auto *in = reinterpret_cast<const QRgb *>(part.constScanLine(y));
            uchar *out = gray.scanLine(top + y);
            for (int x = 0; x < gray.width(); ++x) {
                const QRgb p = in[x];
                const uint luma = (77 * ((p >> 16) & 255) + 150 * ((p >> 8) & 255) + 29 * (p & 255)) >> 8;
                out[x] = uchar(luma + 255 - (p >> 24));
            }
        }
    }
    return gray;
}

using Histogram = std::array<int, bins>;

// Calls tell(area, histogram) for each tile with the histogram of its strip.
template<class Tell>
static void forEachTile(const QImage &gray, const Tell &tell)
{
    const int count = (gray.width() + tileEdge - 1) / tileEdge;
    std::vector<Histogram> tiles;
    for (int top = 0; top < gray.height(); top += tileEdge) {
        const int rows = std::min(tileEdge, gray.height() - top);
        tiles.assign(size_t(count), Histogram{});
        for (int y = top; y < top + rows; ++y) {
            const uchar *in = gray.constScanLine(y);
            for (int x = 0; x < gray.width(); ++x)
                ++tiles[size_t(x / tileEdge)][in[x] >> 2];
        }
        Histogram strip{};
        const auto add = [&](int tile, int sign) {
            if (tile >= 0 && tile < count)
                for (int k = 0; k < bins; ++k)
                    strip[k] += sign * tiles[size_t(tile)][k];
        };
        for (int tile = 0; tile < reach; ++tile)
            add(tile, 1);
        for (int tile = 0; tile < count; ++tile) {
            add(tile + reach, 1);
            add(tile - reach - 1, -1);
            const int left = tile * tileEdge;
            tell(QRect(left, top, std::min(tileEdge, gray.width() - left), rows), strip);
        }
    }
}

// Of a photograph, or a bar that fades, the ground takes many levels, and text only one: counted is what is near.
static int mostFrequent(const Histogram &h)
{
    int from = 0;
    int64_t most = -1;
    for (int k = 0; k + groundBins <= bins; ++k) {
        const auto count = std::accumulate(h.begin() + k, h.begin() + k + groundBins, int64_t(0));
        if (count > most) {
            most = count;
            from = k;
        }
    }
    int mode = 0;
    most = -1;
    for (int k = from; k < from + groundBins; ++k) {
        const int weight = 2 * h[k] + (k > 0 ? h[k - 1] : 0) + (k + 1 < bins ? h[k + 1] : 0);
        if (weight > most) {
            most = weight;
            mode = k;
        }
    }
    return mode * 4 + 2;
}

// The level that only one pixel in a hundred exceeds.
static int exceededByFew(const Histogram &h)
{
    int total = 0;
    for (const int count : h)
        total += count;
    int k = bins - 1;
    for (int beyond = 0; k > 0; --k) {
        beyond += h[k];
        if (100 * beyond > total)
            break;
    }
    return k * 4;
}

// The level that two pixels of three exceed: 0 on an even ground, however much stands on it.
static int exceededByMost(const Histogram &h)
{
    const int total = std::accumulate(h.begin(), h.end(), 0);
    int k = 0;
    for (int below = h[0]; below * 3 <= total && k < bins - 1; below += h[k])
        ++k;
    return k * 4;
}

// Where bold letters take most of a tile, its level is theirs; but above and below them is the ground.
static void steady(QImage &levels)
{
    const QImage before = levels;
    for (int top = tileEdge; top + tileEdge < levels.height(); top += tileEdge) {
        const uchar *above = before.constScanLine(top - tileEdge), *own = before.constScanLine(top),
                    *below = before.constScanLine(top + tileEdge);
        uchar *first = levels.scanLine(top);
        for (int x = 0; x < levels.width(); ++x) {
            const auto [low, high] = std::minmax(above[x], below[x]);
            first[x] = std::clamp(own[x], low, high);
        }
        for (int y = top + 1; y < top + tileEdge; ++y)
            std::copy_n(first, levels.width(), levels.scanLine(y));
    }
}

QImage normalised(const QImage &gray)
{
    QImage levels(gray.size(), QImage::Format_Grayscale8);
    forEachTile(gray, [&](const QRect &tile, const Histogram &strip) {
        const uchar level = uchar(mostFrequent(strip));
        for (int y = tile.top(); y <= tile.bottom(); ++y)
            std::fill_n(levels.scanLine(y) + tile.left(), tile.width(), level);
    });
    steady(levels);

    QImage result = grounds(gray, std::move(levels)); // the distances from the ground, then the result
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *in = gray.constScanLine(y);
        uchar *out = result.scanLine(y);
        for (int x = 0; x < gray.width(); ++x)
            out[x] = uchar(std::abs(in[x] - out[x]));
    }
    forEachTile(result, [&](const QRect &tile, const Histogram &strip) {
        const int noise = std::min(noiseRoom * exceededByMost(strip), mostNoise);
        const int contrast = std::max({minContrast, exceededByFew(strip), noise});
        for (int y = tile.top(); y <= tile.bottom(); ++y) {
            uchar *out = result.scanLine(y);
            for (int x = tile.left(); x <= tile.right(); ++x)
                out[x] = uchar(255 - std::min(255, out[x] * fullContrast / contrast));
        }
    });
    return result;
}

int textHeight(const Components &spots)
{
    std::vector<int> heights;
    for (const Component &spot : spots.all()) {
        const int w = spot.box.width(), h = spot.box.height();
        if (h >= 4 && h <= 80 && w >= 2 && w <= 4 * h && h <= 4 * w)
            heights.push_back(h);
    }
    if (int(heights.size()) < fewestLetters)
        return 0;
    const auto middle = heights.begin() + ptrdiff_t(heights.size() / 2);
    std::nth_element(heights.begin(), middle, heights.end());
    return *middle;
}

double readingScale(int textHeight, QSize size)
{
    double scale = textHeight > 0 ? std::clamp(std::round(bestHeight / textHeight * 4) / 4, 1.0, 3.0) : 2.0;
    const double area = double(size.width()) * size.height();
    scale = std::min(scale, std::sqrt(maxPixels / std::max(1.0, area)));
    return std::min(scale, double(maxSide) / std::max({1, size.width(), size.height()}));
}

} // namespace qm::ocr
