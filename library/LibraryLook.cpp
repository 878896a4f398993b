#include "library/LibraryLook.h"

#include "ui/SystemLook.h"

#include <QFontInfo>
#include <QPalette>

namespace qm {

static QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(float(color.alphaF() * alpha));
    return color;
}

static QColor mixed(const QColor &a, const QColor &b, double partOfB)
{
    const auto mix = [&](int x, int y) { return int(x + (y - x) * partOfB + 0.5); };
    return QColor(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

QColor LibraryLook::hairline(const QColor &text)
{
    return withAlpha(text, 0.3);
}

LibraryLook::RowColors LibraryLook::rowColors(const QPalette &palette, RowState state)
{
    const auto color = [&](QPalette::ColorRole role) { return palette.color(QPalette::Active, role); };
    RowColors colors{color(QPalette::Window), color(QPalette::WindowText), {}};
    if (state == RowState::selected)
        colors.ground = mixed(colors.ground, colors.text, 0.14);
    if (state == RowState::selectedWithFocus)
        colors = {color(QPalette::Highlight), color(QPalette::HighlightedText), {}};
    // Many accent colours are too light for the white text on them; fainter text needs more than the least.
    const QColor away = colors.text.lightness() > 127 ? Qt::black : Qt::white;
    const QColor accent = colors.ground;
    for (double part = 0;
         part < 1 && SystemLook::contrast(colors.text, colors.ground) < 1.2 * SystemLook::readableContrast;
         part += 0.02)
        colors.ground = mixed(accent, away, part);
    colors.secondary = SystemLook::secondary(colors.text);
    while (colors.secondary.alpha() < 255 &&
           SystemLook::contrast(colors.secondary, colors.ground) < SystemLook::readableContrast)
        colors.secondary.setAlpha(colors.secondary.alpha() + 1);
    return colors;
}

QColor LibraryLook::marked(const QPalette &palette)
{
    return SystemLook::isDark(palette) ? QColor(0x80, 0x62, 0x00) : QColor(0xff, 0xe0, 0x80);
}

QColor LibraryLook::markedText(const QPalette &palette)
{
    return SystemLook::isDark(palette) ? Qt::white : Qt::black;
}

QFont LibraryLook::caption(const QFont &font)
{
    QFont smaller = font;
    smaller.setPointSizeF(QFontInfo(font).pointSizeF() * 0.88);
    return smaller;
}

} // namespace qm
