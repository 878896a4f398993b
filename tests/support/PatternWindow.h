#pragma once

#include <QImage>
#include <QRect>
#include <QString>

struct xcb_connection_t;

namespace qm {

class Desktop;

// A window whose every pixel is known: a pattern in which no two places look alike and no seed resembles another. The
// server keeps the pattern as the window's background, so it is there without anyone painting.
class PatternWindow
{
public:
    enum class Kind { managed, unmanaged }; // unmanaged: the window manager is passed by, no frame

    // area: its content, pixels of the desktop. Returns once the window is shown there (qFatal otherwise).
    PatternWindow(Desktop &desktop, const QString &title, const QRect &area, int seed, Kind kind = Kind::managed);
    // The same with a picture in place of the pattern, as large as the area: RGB32, or premultiplied ARGB32 for a window
    // that is translucent under a compositor.
    PatternWindow(Desktop &desktop, const QString &title, const QRect &area, const QImage &picture, Kind kind);
    ~PatternWindow();
    Q_DISABLE_COPY_MOVE(PatternWindow)

    QRect content() const; // where it is now
    QRect frame() const;   // with what the window manager put around it
    const QImage &pattern() const { return m_pattern; }
    void hide();

    static QImage makePattern(const QSize &size, int seed);
    // A picture as the server keeps it; the caller's.
    static quint32 makePixmap(xcb_connection_t *connection, const QImage &picture);

private:
    Desktop &m_desktop;
    const quint32 m_id;
    const QString m_title; // no other window has it
    const QRect m_area;
    const QImage m_pattern;
};

} // namespace qm
