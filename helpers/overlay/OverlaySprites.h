#pragma once

#include <QImage>
#include <QString>

namespace qm {

// The small pictures that the overlay lays on the screen, drawn at a monitor's scale (pixels per point). Those with text
// need a QGuiApplication. They are dark with a light edge, so that they stand out on a light screen and on a dark one.
namespace OverlaySprites {

QImage label(const QString &text, double scale, double maxWidth = 0); // maxWidth: points, elided beyond; 0: no limit
QImage hint(const QString &text, double scale);

// The pixels around a place, each enlarged to a square, with the place itself marked and named below. Pixels beyond the
// screen are left dark.
QImage loupe(const QImage &screen, QPoint at, double scale);

// Pointers: a cross whose centre is open, and a camera. Without text. The hot spot is the middle pixel.
QImage cross(double scale);
QImage camera(double scale);

} // namespace OverlaySprites
} // namespace qm
