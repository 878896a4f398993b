#include "ui/SystemLook.h"

#include "platform/NativeLook.h"

#include <QFontDatabase>

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

QFont SystemLook::semiboldFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setWeight(QFont::DemiBold);
    return font;
}

} // namespace qm
