#pragma once

#include <QImage>
#include <QRect>
#include <QString>

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
    // The same with a picture in place of the pattern, RGB32 and as large as the area.
    PatternWindow(Desktop &desktop, const QString &title, const QRect &area, const QImage &picture, Kind kind);
    ~PatternWindow();
    Q_DISABLE_COPY_MOVE(PatternWindow)

    quint32 id() const { return m_id; }
    QRect content() const; // where it is now
    QRect frame() const;   // with what the window manager put around it
    const QImage &pattern() const { return m_pattern; }
    void raise();
    void hide();

    static QImage makePattern(const QSize &size, int seed);

private:
    Desktop &m_desktop;
    quint32 m_id = 0;
    QRect m_area;
    Kind m_kind;
    QImage m_pattern;
};

} // namespace qm
