#pragma once

#include "helpers/curtain/Dimming.h"

#include <QImage>
#include <QList>
#include <QRect>
#include <QRegion>
#include <QRgb>

namespace qm {

// One state of the overlay: what lies on the frozen, dimmed screen. A value; comparing two yields the area to repaint,
// so that a move costs only what it changes. Coordinates are pixels of the screen.
struct OverlayFrame {
    struct Fill {
        QRect area;
        QRgb color; // premultiplied
        bool operator==(const Fill &) const = default;
    };
    struct Sprite {
        QPoint at;
        QImage picture; // premultiplied
        QRect area() const { return {at, picture.size()}; }
        bool operator==(const Sprite &other) const
        {
            return at == other.at && picture.cacheKey() == other.picture.cacheKey();
        }
    };

    QRect clear; // not dimmed
    QList<Fill> fills;
    QList<Sprite> sprites;

    // Adds lines of this thickness around the area, outside it (or just inside, for an area that fills a screen).
    enum class Side { outside, inside };
    void addBorder(const QRect &area, int thickness, QRgb color, Side side = Side::outside);
};

// The area where the two differ.
QRegion damage(const OverlayFrame &before, const OverlayFrame &after);

// Paints the part of the frame that the target shows; origin is the position of its top left pixel. frozen is the
// screen, RGB32 like the target. Safe without a QGuiApplication.
void paint(const OverlayFrame &frame, const QImage &frozen, QImage &target, QPoint origin);

// Placement of sprites. Pixels.
// The size label of a selection: below, above or inside it, the first position that is on the monitor and clear of
// avoid.
QPoint placeLabel(const QSize &label, const QRect &selection, const QRect &monitor, const QRect &avoid, int gap);
// The loupe next to the pointer, on the side away from the selection's anchor if the monitor has room.
QPoint placeLoupe(const QSize &loupe, QPoint pointer, QPoint direction, const QRect &monitor, int gap);

} // namespace qm
