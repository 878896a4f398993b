#pragma once

#include <QGlyphRun>
#include <QPainterPath>
#include <QString>

namespace qm {

// One line of text in the system's font at semibold, as the picture shows it. Main thread; needs a QGuiApplication.
// It is laid out once, at 100 pixels and without hinting, and everything else is that layout scaled: fonts only come in
// whole pixel sizes, and a text must not change its proportions with its size or with the scale it is drawn at.
class TextLine
{
public:
    static constexpr double layoutSize = 100; // pixels

    explicit TextLine(const QString &text);

    // All in pixels of the layout, from the left end of the baseline, y down.
    double width() const { return m_width; }     // what the text advances, blanks at its end included
    double descent() const { return m_descent; } // of the font, whatever the text
    const QPainterPath &outline() const { return m_outline; }
    const QList<QGlyphRun> &pictures() const { return m_pictures; } // glyphs that have no outline: coloured ones
    QRectF bounds() const;                                          // of all that is painted

private:
    double m_width = 0;
    double m_descent = 0;
    QPainterPath m_outline;
    QList<QGlyphRun> m_pictures;
};

// Points that the text takes, set at the font size (points, at least 1); at least 20.
double measureTextWidth(const QString &text, double fontSize);

} // namespace qm
