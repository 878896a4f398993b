#pragma once

#include <QFont>
#include <QGuiApplication>

#include <memory>

namespace qm {

// Qt serves only for fonts and painting here: a platform plugin without a display starts several times as fast as the
// one for X. Monitors reads the scales beforehand; from then on every size is in pixels.
std::unique_ptr<QGuiApplication> startFonts();

// The system's general font for the overlay on a monitor with this scale.
QFont overlayFont(double points, double scale, QFont::Weight weight);

} // namespace qm
