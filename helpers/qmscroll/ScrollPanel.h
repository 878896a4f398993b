#pragma once

#include "helpers/qmscroll/ScrollSession.h"

#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

namespace qm {

// The small panel beside the region: height and preview of the picture so far, and how to end. This class holds its
// content and buttons; the system-specific part provides the window. Dark with a light edge like the overlay's labels,
// to be legible on light and dark alike. Drawing needs a QGuiApplication, for the fonts.
class ScrollPanel
{
public:
    enum class Shape { wide, tall, bar }; // below or above a region, beside it, and for tight space
    enum class Button { none, done, cancel };
    enum class Importance { ordinary, toBeRead }; // if space is tight, toBeRead replaces the height

    // scale: pixels per point of the monitor it is shown on.
    ScrollPanel(Shape shape, double scale);

    static QSize size(Shape shape, double scale); // pixels
    static int cornerRadius(double scale);        // pixels; do not show the picture beyond the corners

    void setHeight(int pixels);
    void setThumbnail(const QImage &picture); // the whole picture, at any width
    void setStatus(const QString &text, Importance importance);
    void setClosing(); // only the status remains; the buttons are gone

    // The pointer, in pixels relative to the panel's corner; outside the panel if it is elsewhere.
    void movePointer(QPoint to);
    void press();
    Button release(); // the button that was clicked

    bool takeChanged(); // true if its look has changed since the last call
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

// Text of the status line.
QString statusText(ScrollSession::Mode mode, ScrollSession::Notice notice, ScrollSession::Activity activity);
// The file could not be written (on); isPart: what was written before is there.
QString unwrittenText(const QString &reason, bool isPart);
QString endText(ScrollSession::End end, bool mayBeStale); // empty if the end needs no words

// Position of the panel. Pixels of the whole desktop.
struct PanelPlace {
    ScrollPanel::Shape shape = ScrollPanel::Shape::wide;
    QPoint at;
    double scale = 1;
    bool coversRegion = false; // no other place was free: hide it while grabbing frames
};
struct PanelScreen {
    QRect area;
    double scale = 1;
};
// region: including its frame. own: the monitor that shows most of the region; others: the remaining ones.
PanelPlace placePanel(const QRect &region, const PanelScreen &own, const QList<PanelScreen> &others);

} // namespace qm
