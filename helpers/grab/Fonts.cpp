#include "helpers/grab/Fonts.h"

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

} // namespace qm
