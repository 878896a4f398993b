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

// What the user set as scales. Desktops publish "Xft.dpi" in the X resources (96 is a scale of 1); Qt's variables go before
// it: QT_SCREEN_SCALE_FACTORS is a list "2;1" in the order of the monitors or "DP-1=2;DP-2=1", QT_SCALE_FACTOR multiplies.
struct ScaleSettings {
    QByteArray resources;     // "Xft.dpi:\t192\n" and others
    QByteArray screenFactors; // QT_SCREEN_SCALE_FACTORS
    QByteArray factor;        // QT_SCALE_FACTOR
};
void applyScales(QList<Monitor> &monitors, const ScaleSettings &settings);

// The monitor at a point, else the nearest. The list must not be empty.
const Monitor &monitorAt(const QList<Monitor> &monitors, QPoint point);

// The scale that a picture of this area is to carry: that of the monitor with most of it; 1 for a fractional one.
int pictureScale(const QList<Monitor> &monitors, const QRect &area);

} // namespace qm
