#pragma once

#include <QImage>
#include <QString>

namespace qm {

// The small pictures that the overlay shows, drawn at a monitor's scale (pixels per point). Those with text need a
// QGuiApplication. They are dark with a light edge, to stand out on light and dark screens alike.
namespace OverlaySprites {

QImage label(const QString &text, double scale, double maxWidth = 0); // maxWidth: points, elided beyond; 0: no limit
QImage hint(const QString &text, double scale);

// The pixels around a point, each enlarged to a square; the point itself is marked, and its coordinates and its
// colour are shown below. Pixels beyond the screen stay dark.
QImage loupe(const QImage &screen, QPoint at, double scale);

// Pointers without text: a cross with an open centre, and a camera. The hot spot is the middle pixel.
QImage cross(double scale);
QImage camera(double scale);

} // namespace OverlaySprites
} // namespace qm
