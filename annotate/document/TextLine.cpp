#include "annotate/document/TextLine.h"

#include <QCache>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QRawFont>
#include <QTextLayout>

#include <algorithm>

namespace qm {

static QFont layoutFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(int(TextLine::layoutSize));
    font.setWeight(QFont::DemiBold);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setStyleStrategy(QFont::StyleStrategy(QFont::PreferAntialias | QFont::NoSubpixelAntialias));
    return font;
}

TextLine::TextLine(const QString &text)
{
    const QFont font = layoutFont();
    m_descent = QFontMetricsF(font).descent();

    QString line = text;
    for (QChar &c : line) { // keep to one line, whatever was pasted
        if (c == u'\n' || c == u'\r' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = u' ';
    }
    QTextLayout layout(line, font);
    QTextOption option; // no design metrics: they ignore picture glyphs
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine textLine = layout.createLine();
    if (textLine.isValid()) {
        textLine.setLineWidth(1e7); // wide enough that right-to-left text does not wrap either
        textLine.setPosition({0, 0});
    }
    layout.endLayout();
    if (!textLine.isValid())
        return;

    m_width = textLine.horizontalAdvance();
    // Right-to-left text is aligned with the right end of the line's width. What stands at its left end need be neither its
    // first letter nor its last: it may be a number in between.
    const QList<QGlyphRun> runs = textLine.glyphRuns();
    double left = qMin(textLine.cursorToX(0), textLine.cursorToX(int(line.size())));
    for (const QGlyphRun &run : runs) {
        const QList<QPointF> positions = line.isRightToLeft() ? run.positions() : QList<QPointF>();
        for (const QPointF &position : positions)
            left = qMin(left, position.x());
    }
    const QPointF origin(left, textLine.ascent());
    m_outline.setFillRule(Qt::WindingFill);
    for (const QGlyphRun &run : runs) {
        const QRawFont rawFont = run.rawFont();
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> positions = run.positions();
        // Never ask bitmap fonts (OpenType 1.9, CBLC) for an outline: it makes FreeType forget their size.
        const bool pictured = !rawFont.fontTable("CBLC").isEmpty();
        QGlyphRun picture;
        QList<quint32> pictureGlyphs;
        QList<QPointF> picturePositions;
        for (qsizetype i = 0; i < glyphs.size(); ++i) {
            const QPointF position = positions[i] - origin;
            if (pictured) {
                pictureGlyphs << glyphs[i];
                picturePositions << position;
            } else {
                m_outline.addPath(rawFont.pathForGlyph(glyphs[i]).translated(position));
            }
        }
        if (pictureGlyphs.isEmpty())
            continue;
        picture.setRawFont(rawFont);
        picture.setGlyphIndexes(pictureGlyphs);
        picture.setPositions(picturePositions);
        m_pictures << picture;
    }
}

TextLine TextLine::of(const QString &text)
{
    constexpr qsizetype mostLines = 1000;
    static QCache<QString, TextLine> lines(mostLines);
    if (const TextLine *made = lines.object(text))
        return *made;
    TextLine line(text);
    lines.insert(text, new TextLine(line));
    return line;
}

QRectF TextLine::bounds() const
{
    QRectF bounds = m_outline.controlPointRect();
    for (const QGlyphRun &picture : m_pictures) {
        const QList<quint32> glyphs = picture.glyphIndexes();
        const QList<QPointF> positions = picture.positions();
        for (qsizetype i = 0; i < glyphs.size(); ++i)
            bounds |= picture.rawFont().boundingRect(glyphs[i]).translated(positions[i]);
    }
    return bounds;
}

double measureTextWidth(const QString &text, double fontSize)
{
    return std::max(TextLine::of(text).width() * std::max(fontSize, 1.0) / TextLine::layoutSize, 20.0);
}

} // namespace qm
