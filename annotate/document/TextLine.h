#pragma once

#include <QGlyphRun>
#include <QPainterPath>
#include <QString>

namespace qm {

// A line of text in the system font at semibold, as it appears in the picture. Main thread; needs a QGuiApplication.
// The text is laid out once, at 100 pixels without hinting, and scaled from there: fonts come only in whole pixel
// sizes, and the proportions must not change with the text size or the drawing scale.
class TextLine
{
public:
    static constexpr double layoutSize = 100; // pixels

    explicit TextLine(const QString &text);
    // One made before of the same text, if there is. FreeType's outlines change a little once the same font has been drawn
    // elsewhere, in a text field say; what is seen and what is written shall not.
    static TextLine of(const QString &text);

    // All in layout pixels, from the left end of the baseline, y down.
    double width() const { return m_width; }     // advance width, including trailing blanks
    double descent() const { return m_descent; } // of the font, independent of the text
    const QPainterPath &outline() const { return m_outline; }
    const QList<QGlyphRun> &pictures() const { return m_pictures; } // glyphs without an outline, such as colour emoji
    QRectF bounds() const;                                          // of everything painted

private:
    double m_width = 0;
    double m_descent = 0;
    QPainterPath m_outline;
    QList<QGlyphRun> m_pictures;
};

// Width of the text in points at the given font size (points, raised to at least 1); never less than 20.
double measureTextWidth(const QString &text, double fontSize);

} // namespace qm
