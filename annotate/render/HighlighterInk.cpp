#include "annotate/render/HighlighterInk.h"

#include "annotate/render/PixelGrid.h"

#include <algorithm>
#include <cmath>

namespace qm {

namespace {

// A line with its width, addressed along and across.
struct Band {
    QPointF from, along, across; // along: the whole line; across: half its width

    QPointF at(double length, double side) const { return from + along * length + across * side; }
};

} // namespace

// The mean lightness of the picture under a part of the band, 0 to 1; beyond the picture it counts as light.
static double lightness(const Band &band, double begin, double end, const Image &source)
{
    constexpr int samples = 8; // along and across
    const QTransform toPixels = PixelGrid::ofSource(source).toPixels();
    double sum = 0;
    for (int i = 0; i < samples * samples; ++i) {
        const double length = begin + (end - begin) * (i % samples + 0.5) / samples;
        const QPointF at = toPixels.map(band.at(length, (i / samples + 0.5) / samples * 2 - 1)); // NOLINT: rows
        const QPoint pixel(int(std::floor(at.x())), int(std::floor(at.y())));
        sum += source.pixels.valid(pixel) ? qGray(source.pixels.pixel(pixel)) / 255.0 : 1;
    }
    return sum / (samples * samples);
}

// Where, between two places along the band, it changes from what it is at the first.
static double change(const Band &band, double begin, double end, bool darkAtFirst, const Image &source)
{
    constexpr int steps = 32;
    int best = 0, at = 0, agreeing = 0;
    for (int i = 0; i < steps; ++i) {
        const auto place = [&](int step) { return begin + (end - begin) * step / steps; };
        const bool dark = lightness(band, place(i), place(i + 1), source) < 0.5;
        agreeing += dark == darkAtFirst ? 1 : -1;
        if (agreeing > best) {
            best = agreeing;
            at = i + 1;
        }
    }
    return begin + (end - begin) * at / steps;
}

QList<ItemArea> highlighterInk(const Annotation &item, const Image &source)
{
    constexpr int mostParts = 400;
    constexpr double opacity = 0.55;
    const double length = std::hypot(item.rect.width(), item.rect.height()), width = item.strokeWidth();
    if (length <= 0)
        return {};
    const QPointF along = item.end() - item.start();
    const Band band{item.start(), along, QPointF(-along.y(), along.x()) / length * (width / 2)};
    QColor ink = item.color;
    ink.setAlphaF(float(ink.alphaF() * opacity));

    QList<ItemArea> areas;
    const int parts = std::clamp(int(length / width), 1, mostParts);
    double begin = 0;
    std::optional<bool> dark;
    const auto add = [&](double end) {
        QPainterPath path(band.at(begin, -1));
        path.lineTo(band.at(end, -1));
        path.lineTo(band.at(end, 1));
        path.lineTo(band.at(begin, 1));
        path.closeSubpath();
        areas << ItemArea{path, ink, *dark ? ItemArea::Blend::screen : ItemArea::Blend::multiply};
        begin = end;
    };
    for (int i = 0; i < parts; ++i) {
        const double from = double(i) / parts;
        const bool isDark = lightness(band, from, double(i + 1) / parts, source) < 0.5;
        if (dark && *dark != isDark)
            add(change(band, std::max(begin, from - 1.0 / parts), double(i + 1) / parts, *dark, source));
        dark = isDark;
    }
    add(1);
    return areas;
}

} // namespace qm
