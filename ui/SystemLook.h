#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace qm {

// The system's colours and fonts by their part in our windows. Main thread. What depends on the palette follows it into
// the dark when asked again: a widget asks on QEvent::PaletteChange.
namespace SystemLook {

inline constexpr QRgb red = 0xffff3b30; // of warnings

bool isDark(const QPalette &palette);
QColor accent(const QPalette &palette);
QColor secondary(const QColor &text);          // for what stands back, on the same ground
QColor secondaryText(const QPalette &palette); // of what stands back: captions, status lines
QFont semiboldFont();                          // the general font

} // namespace SystemLook
} // namespace qm
