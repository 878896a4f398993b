#include "tools/render/Page.h"

#include <QFile>
#include <QTextBoundaryFinder>

Page::Page(int width, int height, int scale, QColor paper)
    : m_image(width * scale, height * scale, QImage::Format_RGB32)
    , m_scale(scale)
{
    m_image.fill(paper);
    const int dotsPerMetre = qRound(72 * scale / 0.0254);
    m_image.setDotsPerMeterX(dotsPerMetre);
    m_image.setDotsPerMeterY(dotsPerMetre);
    m_painter.begin(&m_image);
    m_painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    m_painter.scale(scale, scale);
}

void Page::box(const QRectF &rect, QColor fill, double radius, QColor border)
{
    m_painter.setPen(border.alpha() ? QPen(border, 1) : QPen(Qt::NoPen));
    m_painter.setBrush(fill);
    const double inset = border.alpha() ? 0.5 : 0;
    m_painter.drawRoundedRect(rect.adjusted(inset, inset, -inset, -inset), radius, radius);
}

void Page::rule(double x1, double y1, double x2, double y2, QColor color)
{
    m_painter.setPen(QPen(color, 1));
    m_painter.drawLine(QPointF(x1, y1 + 0.5), QPointF(x2, y2 + 0.5));
}

void Page::curve(const QPolygonF &points, QColor color)
{
    m_painter.setPen(QPen(color, 2));
    m_painter.setBrush(Qt::NoBrush);
    m_painter.drawPolyline(points);
}

void Page::use(const Ink &ink)
{
    QFont font;
    font.setFamilies({ink.mono ? QStringLiteral("DejaVu Sans Mono")
                               : (ink.serif ? QStringLiteral("DejaVu Serif") : QStringLiteral("DejaVu Sans")),
                      ink.serif ? QStringLiteral("Noto Serif CJK JP") : QStringLiteral("Noto Sans CJK JP")});
    font.setPixelSize(qRound(ink.size));
    font.setBold(ink.bold);
    m_painter.setFont(font);
    m_painter.setPen(ink.color);
}

void Page::write(double x, double y, const QString &text, const Ink &ink)
{
    use(ink);
    m_painter.drawText(QPointF(x, y), text);
    m_lines += text;
}

void Page::writeCentred(const QRectF &rect, const QString &text, const Ink &ink)
{
    use(ink);
    m_painter.drawText(rect, Qt::AlignCenter, text);
    m_lines += text;
}

double Page::writeWrapped(double x, double y, double width, double pitch, const QString &text, const Ink &ink)
{
    use(ink);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Line, text);
    qsizetype start = 0, fits = 0;
    while (start < text.size()) {
        const qsizetype next = finder.toNextBoundary();
        const bool tooWide =
            next > 0 && m_painter.fontMetrics().horizontalAdvance(text.sliced(start, next - start).trimmed()) > width;
        if (next < 0 || (tooWide && fits > start)) {
            const qsizetype end = next < 0 ? text.size() : fits;
            write(x, y, text.sliced(start, end - start).trimmed(), ink);
            y += pitch;
            start = end;
        }
        fits = std::max(fits, next);
    }
    return y;
}

bool Page::save(const QString &folder, const QString &name)
{
    m_painter.end();
    QFile text(folder + u'/' + name + QStringLiteral(".txt"));
    return m_image.save(folder + u'/' + name + QStringLiteral(".png"), "png", 0) && text.open(QIODevice::WriteOnly) &&
           text.write(m_lines.join(u'\n').toUtf8() + '\n') > 0;
}
