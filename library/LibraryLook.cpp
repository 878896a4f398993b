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

QColor LibraryLook::quietSelection(const QPalette &palette)
{
    return mixed(palette.color(QPalette::Active, QPalette::Window),
                 palette.color(QPalette::Active, QPalette::WindowText), 0.14);
}

QColor LibraryLook::marked(const QPalette &palette)
{
    return SystemLook::isDark(palette) ? QColor(0x80, 0x62, 0x00) : QColor(0xff, 0xe0, 0x80);
}

QFont LibraryLook::caption(const QFont &font)
{
    QFont smaller = font;
    smaller.setPointSizeF(QFontInfo(font).pointSizeF() * 0.88);
    return smaller;
}

} // namespace qm
