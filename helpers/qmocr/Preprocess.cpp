#include "helpers/qmocr/Preprocess.h"

#include <QList>

#include <allheaders.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <vector>

namespace qm::ocr {

static constexpr int tileEdge = 8;     // pixels
static constexpr int reach = 8;        // tiles on either side that determine a tile's background
static constexpr int bins = 64;        // of four grey levels each
static constexpr int minContrast = 48; // grey levels; anything less is noise and stays faint
static constexpr int fullContrast = 220;
static constexpr int darkBelow = 150; // grey level below which a pixel belongs to a letter
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

namespace {

using Histogram = std::array<int, bins>;

// The reference for a tile's pixels.
struct Ground {
    int background = 255; // grey level
    int contrast = 255;   // grey levels between background and text
};

} // namespace

static Ground groundOf(const Histogram &h)
{
    int mode = 0, most = -1, total = 0;
    for (int k = 0; k < bins; ++k) {
        const int weight = 2 * h[k] + (k > 0 ? h[k - 1] : 0) + (k + 1 < bins ? h[k + 1] : 0);
        if (weight > most) {
            most = weight;
            mode = k;
        }
        total += h[k];
    }
    // The distance that only one pixel in a hundred exceeds.
    int distance = bins - 1, beyond = 0;
    for (; distance > 0; --distance) {
        beyond += (mode >= distance ? h[mode - distance] : 0) + (mode + distance < bins ? h[mode + distance] : 0);
        if (100 * beyond > total)
            break;
    }
    return {mode * 4 + 2, distance * 4};
}

static std::vector<Histogram> histograms(const QImage &gray, int top, int rows)
{
    std::vector<Histogram> tiles((gray.width() + tileEdge - 1) / tileEdge, Histogram{});
    for (int y = top; y < top + rows; ++y) {
        const uchar *in = gray.constScanLine(y);
        for (int x = 0; x < gray.width(); ++x)
            ++tiles[x / tileEdge][in[x] >> 2];
    }
    return tiles;
}

QImage normalised(const QImage &gray)
{
    QImage result(gray.size(), QImage::Format_Grayscale8);
    std::array<uchar, 256> map;
    for (int top = 0; top < gray.height(); top += tileEdge) {
        const int rows = std::min(tileEdge, gray.height() - top);
        const std::vector<Histogram> tiles = histograms(gray, top, rows);
        const int count = int(tiles.size());
        Histogram strip{};
        const auto add = [&](int tile, int sign) {
            if (tile >= 0 && tile < count)
                for (int k = 0; k < bins; ++k)
                    strip[k] += sign * tiles[tile][k];
        };
        for (int tile = 0; tile < reach; ++tile)
            add(tile, 1);
        for (int tile = 0; tile < count; ++tile) {
            add(tile + reach, 1);
            add(tile - reach - 1, -1);
            const Ground ground = groundOf(strip);
            const int contrast = std::max(minContrast, ground.contrast);
            for (int level = 0; level < 256; ++level)
                map[level] = uchar(255 - std::min(255, std::abs(level - ground.background) * fullContrast / contrast));
            const int left = tile * tileEdge, right = std::min(left + tileEdge, gray.width());
            for (int y = top; y < top + rows; ++y) {
                const uchar *in = gray.constScanLine(y);
                uchar *out = result.scanLine(y);
                for (int x = left; x < right; ++x)
                    out[x] = map[in[x]];
            }
        }
    }
    return result;
}

int textHeight(const QImage &darkOnLight)
{
    if (darkOnLight.isNull())
        return 0;
    const auto release = [](Pix *pix) { pixDestroy(&pix); };
    const std::unique_ptr<Pix, decltype(release)> dark(pixCreate(darkOnLight.width(), darkOnLight.height(), 1),
                                                       release);
    if (!dark)
        return 0;
    const int words = pixGetWpl(dark.get());
    for (int y = 0; y < darkOnLight.height(); ++y) {
        const uchar *in = darkOnLight.constScanLine(y);
        l_uint32 *out = pixGetData(dark.get()) + size_t(y) * words;
        for (int x = 0; x < darkOnLight.width(); ++x)
            out[x >> 5] |= l_uint32(in[x] < darkBelow) << (31 - (x & 31));
    }
    Boxa *boxes = pixConnCompBB(dark.get(), 8);
    std::vector<int> heights;
    for (int i = 0; i < boxaGetCount(boxes); ++i) {
        l_int32 x, y, w, h;
        boxaGetBoxGeometry(boxes, i, &x, &y, &w, &h);
        if (h >= 4 && h <= 80 && w >= 2 && w <= 4 * h && h <= 4 * w)
            heights.push_back(h);
    }
    boxaDestroy(&boxes);
    if (int(heights.size()) < fewestLetters)
        return 0;
    const auto middle = heights.begin() + heights.size() / 2;
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
