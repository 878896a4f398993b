#pragma once

#include <QImage>
#include <QList>
#include <QRect>
#include <QRegion>
#include <QRgb>

namespace qm {

// How much light is taken from what is not chosen, of 255: dark enough to set a selection off, light enough to read what one
// aims at.
inline constexpr quint8 dimAlpha = 96;

// A pixel dimmed. Rounds as the Render extension's usual implementation does, so that what the server dims and
// what is painted here can lie side by side.
inline quint32 dimmed(quint32 pixel)
{
    constexpr quint32 kept = 255 - dimAlpha;
    quint32 redBlue = (pixel & 0xff00ff) * kept + 0x800080;
    quint32 green = (pixel >> 8 & 0xff) * kept + 0x80;
    redBlue = (redBlue + (redBlue >> 8 & 0xff00ff)) >> 8 & 0xff00ff;
    green = (green + (green >> 8)) & 0xff00;
    return 0xff000000 | redBlue | green;
}

// One state of the overlay, as what lies on the frozen, dimmed screen. A value: two of them tell what has to be painted
// again, so that a move costs what it changes and not a screen full of pixels. Coordinates are pixels of the screen.
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

    // Lines of this thickness around the area, on its outside (or just within it, for one that fills a screen).
    enum class Side { outside, inside };
    void addBorder(const QRect &area, int thickness, QRgb color, Side side = Side::outside);
};

// What differs between the two.
QRegion damage(const OverlayFrame &before, const OverlayFrame &after);

// Paints the part of the frame that the target shows: its top left pixel is at origin. frozen is the screen, RGB32 as the
// target. Safe without a QGuiApplication.
void paint(const OverlayFrame &frame, const QImage &frozen, QImage &target, QPoint origin);

// Where things go beside others. Pixels.
// The size beside a selection: below, above, or within it, the first that is on the monitor and off what is to be avoided.
QPoint placeLabel(const QSize &label, const QRect &selection, const QRect &monitor, const QRect &avoid, int gap);
// The loupe beside the pointer, on the side away from the selection's anchor as far as the monitor allows.
QPoint placeLoupe(const QSize &loupe, QPoint pointer, QPoint direction, const QRect &monitor, int gap);

} // namespace qm
