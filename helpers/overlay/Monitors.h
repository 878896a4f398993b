#pragma once

#include <QByteArray>
#include <QList>
#include <QRect>

#include <optional>

namespace qm {

struct Monitor {
    QByteArray name;
    QRect area;       // pixels
    double scale = 1; // pixels per point
};

// The user's scale settings. Desktops publish "Xft.dpi" in the X resources (96 is a scale of 1). Qt's variables take
// precedence: QT_SCREEN_SCALE_FACTORS is a list, "2;1" in monitor order or "DP-1=2;DP-2=1"; QT_SCALE_FACTOR multiplies.
struct ScaleSettings {
    QByteArray resources;     // "Xft.dpi:\t192\n" and others
    QByteArray screenFactors; // QT_SCREEN_SCALE_FACTORS
    QByteArray factor;        // QT_SCALE_FACTOR
};
void applyScales(QList<Monitor> &monitors, const ScaleSettings &settings);

// The monitor at a point, or the nearest one. The list must not be empty.
const Monitor &monitorAt(const QList<Monitor> &monitors, QPoint point);

// The scale to record in a picture of this area: that of the monitor showing most of it; 1 if that is fractional.
int pictureScale(const QList<Monitor> &monitors, const QRect &area);

} // namespace qm
