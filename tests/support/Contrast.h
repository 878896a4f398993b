#pragma once

#include <QColor>

#include <algorithm>
#include <cmath>

namespace qm {

// Contrast as WCAG 2.2 defines it (1 to 21), of a colour that may be translucent on one that is not.
inline double contrast(const QColor &front, const QColor &back)
{
    const auto luminance = [&](double alpha) {
        const auto linear = [&](double f, double b) {
            const double c = f * alpha + b * (1 - alpha);
            return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(front.redF(), back.redF()) + 0.7152 * linear(front.greenF(), back.greenF()) +
               0.0722 * linear(front.blueF(), back.blueF());
    };
    const auto [darker, lighter] = std::minmax({luminance(front.alphaF()), luminance(0)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace qm
