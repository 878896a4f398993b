#include "app/base/SystemLook.h"

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

QColor SystemLook::secondaryText(const QPalette &palette)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(color.alphaF() * 0.62F);
    return color;
}

QFont SystemLook::semiboldFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setWeight(QFont::DemiBold);
    return font;
}

} // namespace qm
