#include "ui/SystemLook.h"

#include "platform/NativeLook.h"

#include <QFontDatabase>

#include <algorithm>
#include <cmath>

namespace qm {

bool SystemLook::isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

QColor SystemLook::accent(const QPalette &palette)
{
    return NativeLook::accent().value_or(palette.color(QPalette::Active, QPalette::Highlight));
}

QColor SystemLook::secondary(const QColor &text)
{
    QColor color = text;
    color.setAlphaF(color.alphaF() * 0.62F);
    return color;
}

QColor SystemLook::secondaryText(const QPalette &palette)
{
    return secondary(palette.color(QPalette::WindowText));
}

QColor SystemLook::warningText(const QPalette &palette)
{
    return isDark(palette) ? QColor(0xff, 0x80, 0x78) : QColor(0xc5, 0x00, 0x0f);
}

static double luminance(const QColor &color)
{
    const auto linear = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double SystemLook::contrast(const QColor &color, const QColor &ground)
{
    const auto over = [&](float c, float g) { return c * color.alphaF() + g * (1 - color.alphaF()); };
    const double seen = luminance(QColor::fromRgbF(
        over(color.redF(), ground.redF()), over(color.greenF(), ground.greenF()), over(color.blueF(), ground.blueF())));
    const auto [darker, lighter] = std::minmax({seen, luminance(ground)});
    return (lighter + 0.05) / (darker + 0.05);
}

QFont SystemLook::semiboldFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setWeight(QFont::DemiBold);
    return font;
}

} // namespace qm
