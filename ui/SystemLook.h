#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace qm {

// The system's colours and fonts by their role in our windows. Main thread. Whatever depends on the palette changes
// with dark mode: widgets ask again on QEvent::PaletteChange.
namespace SystemLook {

inline constexpr QRgb red = 0xffff3b30; // for warnings

bool isDark(const QPalette &palette);
QColor accent(const QPalette &palette);
QColor secondary(const QColor &text);          // for less prominent content on the same background
QColor secondaryText(const QPalette &palette); // for less prominent content: captions, status lines
QColor warningText(const QPalette &palette);   // red that can be read as text, which the system's own cannot
// As WCAG 2.2 defines it, 1 to 21; the first may be translucent, the second is not. Text needs readableContrast.
double contrast(const QColor &color, const QColor &ground);
inline constexpr double readableContrast = 4.5;
QFont semiboldFont(); // the general font

} // namespace SystemLook
} // namespace qm
