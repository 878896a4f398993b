#pragma once

#include <QColor>
#include <QImage>
#include <QRectF>

#include <algorithm>
#include <array>
#include <cmath>

namespace qm::Pixels {

using Channels = std::array<double, 4>; // red, green, blue and alpha, as the picture holds them

// Of a picture of 32 bits a pixel, without the division by alpha that QImage::pixel() does.
inline Channels at(const QImage &image, int x, int y)
{
    const QRgb pixel = reinterpret_cast<const QRgb *>(image.constScanLine(y))[x];
    return {double(qRed(pixel)), double(qGreen(pixel)), double(qBlue(pixel)), double(qAlpha(pixel))};
}

// How far two pixels are apart, in levels of the channel where it is most.
inline double apart(const Channels &a, const Channels &b)
{
    double most = 0;
    for (size_t c = 0; c < a.size(); ++c)
        most = std::max(most, std::abs(a[c] - b[c]));
    return most;
}

inline bool near(QRgb a, QRgb b, int levels)
{
    return std::abs(qRed(a) - qRed(b)) <= levels && std::abs(qGreen(a) - qGreen(b)) <= levels &&
           std::abs(qBlue(a) - qBlue(b)) <= levels;
}

inline bool near(const QImage &a, const QImage &b, int levels)
{
    if (a == b || levels == 0 || a.size() != b.size())
        return a == b;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (!near(a.pixel(x, y), b.pixel(x, y), levels))
                return false;
        }
    }
    return true;
}

// The mean over the part of a box that lies in the picture, by the definition: the measure for every way of shrinking.
inline Channels meanOf(const QImage &premultiplied, QRectF box)
{
    box &= premultiplied.rect();
    Channels sum{};
    if (box.width() < 1e-9 || box.height() < 1e-9)
        return sum;
    for (int y = int(box.top()); y < box.bottom(); ++y) {
        for (int x = int(box.left()); x < box.right(); ++x) {
            const QRectF part = box & QRectF(x, y, 1, 1);
            const Channels pixel = at(premultiplied, x, y);
            for (size_t c = 0; c < sum.size(); ++c)
                sum[c] += pixel[c] * part.width() * part.height() / (box.width() * box.height());
        }
    }
    return sum;
}

inline double luminance(const QColor &color)
{
    const auto linear = [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

// Contrast as WCAG 2.2 defines it, 1 to 21, of a colour that may be translucent on one that is not.
inline double contrast(const QColor &front, const QColor &back)
{
    const auto over = [&](float f, float b) { return f * front.alphaF() + b * (1 - front.alphaF()); };
    const QColor seen = QColor::fromRgbF(over(front.redF(), back.redF()), over(front.greenF(), back.greenF()),
                                         over(front.blueF(), back.blueF()));
    const auto [darker, lighter] = std::minmax({luminance(seen), luminance(back)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace qm::Pixels
