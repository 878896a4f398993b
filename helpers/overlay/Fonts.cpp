#include "helpers/overlay/Fonts.h"

#include "helpers/overlay/Pixels.h"

namespace qm {

std::unique_ptr<QGuiApplication> startFonts()
{
    for (const char *variable : {"QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_FONT_DPI"})
        qunsetenv(variable);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
    static int argumentCount = 1;
    static char programName[] = "quillmere";
    static char *arguments[] = {programName, nullptr};
    return std::make_unique<QGuiApplication>(argumentCount, arguments);
}

QFont overlayFont(double points, double scale, QFont::Weight weight)
{
    QFont font;
    font.setPixelSize(pixels(points, scale));
    font.setWeight(weight);
    font.setHintingPreference(scale >= 1.5 ? QFont::PreferNoHinting : QFont::PreferVerticalHinting);
    return font;
}

} // namespace qm
