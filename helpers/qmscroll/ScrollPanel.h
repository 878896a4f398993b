#pragma once

#include "helpers/qmscroll/ScrollSession.h"

#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

namespace qm {

// The small panel beside the region: how tall the picture is, what it looks like so far, how to end. This is what it shows
// and where its buttons are; the window that shows it is the system's. Dark with a light edge as the overlay's labels, so
// that it is read over light and dark alike. Drawing needs a QGuiApplication, for the fonts.
class ScrollPanel
{
public:
    enum class Shape { wide, tall, bar }; // for the room below or above a region, beside it, and where there is little
    enum class Button { none, done, cancel };
    enum class Importance { ordinary, toBeRead }; // where there is room for little, it goes before the height

    // scale: pixels per point of the monitor that it is shown on.
    ScrollPanel(Shape shape, double scale);

    static QSize size(Shape shape, double scale); // pixels
    static int cornerRadius(double scale);        // pixels; beyond the corners the picture is not to be shown

    void setHeight(int pixels);
    void setThumbnail(const QImage &picture); // all of it, of whatever width
    void setStatus(const QString &text, Importance importance);
    void setClosing(); // nothing can be chosen any more: only the status is left to read

    // The pointer, in pixels from the panel's corner; outside of it when it is elsewhere.
    void movePointer(QPoint to);
    void press();
    Button release(); // what was clicked

    bool takeChanged(); // whether it looks otherwise than when that was last asked
    QImage picture() const;

private:
    struct Layout {
        QRectF thumbnail, height, status, done, cancel; // points
    };
    static Layout layout(Shape shape);
    Button at(QPoint point) const;
    template<class T>
    void set(T &field, const T &value);

    const Shape m_shape;
    const double m_scale;
    int m_height = 0;
    QImage m_thumbnail;
    QString m_status;
    Importance m_importance = Importance::ordinary;
    bool m_closing = false;
    Button m_hovered = Button::none;
    Button m_pressed = Button::none;
    bool m_changed = true;
};

// What the panel says in its status line.
QString statusText(ScrollSession::Mode mode, ScrollSession::Notice notice);
QString endText(ScrollSession::End end); // empty for an end that needs no words

// Where the panel goes. Pixels of the whole desktop.
struct PanelPlace {
    ScrollPanel::Shape shape = ScrollPanel::Shape::wide;
    QPoint at;
    double scale = 1;
    bool coversRegion = false; // there was no other place: it must not be there while a frame is taken
};
struct PanelScreen {
    QRect area;
    double scale = 1;
};
// region: with its frame. own: the monitor that shows most of the region; others: the rest of them.
PanelPlace placePanel(const QRect &region, const PanelScreen &own, const QList<PanelScreen> &others);

} // namespace qm
