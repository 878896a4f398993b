#pragma once

#include <QFont>
#include <QGuiApplication>

#include <memory>

namespace qm {

// Qt is only here for its fonts and its painting: a platform without a display starts several times as fast as the one for
// X. Scales are read by Monitors, before this, and every size is in pixels from then on.
std::unique_ptr<QGuiApplication> startFonts();

// The system's general font, for what lies over the screen of a monitor with this scale.
QFont overlayFont(double points, double scale, QFont::Weight weight);

} // namespace qm
