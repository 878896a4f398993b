#include "helpers/overlay/OverlaySprites.h"

#include "helpers/overlay/Fonts.h"
#include "helpers/overlay/Pixels.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace qm {

namespace {

const QColor panel(28, 28, 30, 236);
const QColor edge(255, 255, 255, 72);
const QColor ink(255, 255, 255);

QImage blank(const QSize &size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void drawPanel(QPainter &painter, const QSize &size, double radius, double line)
{
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF outline = QRectF(QPointF(), size).adjusted(line / 2, line / 2, -line / 2, -line / 2);
    painter.setPen(QPen(edge, line));
    painter.setBrush(panel);
    painter.drawRoundedRect(outline, radius, radius);
}

QImage pill(const QString &text, const QFont &font, double scale, double paddingX, double paddingY, double radius)
{
    const QFontMetricsF metrics(font);
    const int width = int(std::ceil(metrics.horizontalAdvance(text))) + 2 * pixels(paddingX, scale);
    const int height = int(std::ceil(metrics.height())) + 2 * pixels(paddingY, scale);
    QImage image = blank({width, height});
    QPainter painter(&image);
    drawPanel(painter, image.size(), radius * scale, pixels(1, scale));
    painter.setFont(font);
    painter.setPen(ink);
    painter.drawText(image.rect(), Qt::AlignCenter | Qt::TextSingleLine, text);
    return image;
}

// Stroked twice, to be visible on any background.
QImage outlined(const QPainterPath &path, int size, double scale)
{
    QImage image = blank({size, size});
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0, 0, 0, 200), 4 * scale, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
    painter.setPen(QPen(ink, 2 * scale, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
    return image;
}

} // namespace

QImage OverlaySprites::label(const QString &text, double scale, double maxWidth)
{
    const QFont shown = overlayFont(13, scale, QFont::DemiBold);
    const QString fitting =
        maxWidth > 0 ? QFontMetricsF(shown).elidedText(text, Qt::ElideRight, maxWidth * scale) : text;
    return pill(fitting, shown, scale, 9, 4, 6);
}

QImage OverlaySprites::hint(const QString &text, double scale)
{
    return pill(text, overlayFont(13, scale, QFont::DemiBold), scale, 16, 9, 10);
}

QImage OverlaySprites::loupe(const QImage &screen, QPoint at, double scale)
{
    constexpr int cells = 15; // odd, so that one is the middle
    const int cell = pixels(8, scale);
    const int line = pixels(1, scale);
    const int margin = pixels(2, scale);
    const int side = cells * cell + line; // grid lines at both ends
    const int captionLine = pixels(18, scale);
    const int caption = 2 * captionLine + pixels(4, scale);
    QImage image = blank({side + 2 * margin, side + 2 * margin + caption});
    QPainter painter(&image);
    const double radius = 8 * scale;
    drawPanel(painter, image.size(), radius, line);

    QImage grid(side, side, QImage::Format_ARGB32_Premultiplied);
    grid.fill(QColor(60, 60, 62));
    QPainter gridPainter(&grid);
    for (int row = 0; row < cells; ++row) {
        for (int column = 0; column < cells; ++column) {
            const QPoint place = at + QPoint(column - cells / 2, row - cells / 2);
            const QColor color = screen.valid(place) ? QColor(screen.pixel(place)) : QColor(44, 44, 46);
            gridPainter.fillRect(column * cell, row * cell, cell + line, cell + line, color);
        }
    }
    for (int i = 0; i <= cells; ++i) {
        gridPainter.fillRect(i * cell, 0, line, side, QColor(128, 128, 128, 90));
        gridPainter.fillRect(0, i * cell, side, line, QColor(128, 128, 128, 90));
    }
    const QRect middle(cells / 2 * cell, cells / 2 * cell, cell + line, cell + line);
    const auto frame = [&](const QRect &area, const QColor &color) {
        gridPainter.fillRect(area.x(), area.y(), area.width(), line, color);
        gridPainter.fillRect(area.x(), area.bottom() + 1 - line, area.width(), line, color);
        gridPainter.fillRect(area.x(), area.y(), line, area.height(), color);
        gridPainter.fillRect(area.right() + 1 - line, area.y(), line, area.height(), color);
    };
    frame(middle.adjusted(-line, -line, line, line), QColor(0, 0, 0, 220));
    frame(middle, Qt::white);
    gridPainter.end();

    QPainterPath rounded;
    rounded.addRoundedRect(QRectF(margin, margin, side, side), radius - margin, radius - margin);
    painter.save();
    painter.setClipPath(rounded);
    painter.drawImage(margin, margin, grid);
    painter.restore();

    painter.setFont(overlayFont(12, scale, QFont::DemiBold));
    painter.setPen(ink);
    const QRect place(0, side + 2 * margin, image.width(), captionLine);
    painter.drawText(place, Qt::AlignCenter | Qt::TextSingleLine, QStringLiteral("%1, %2").arg(at.x()).arg(at.y()));
    if (screen.valid(at)) {
        painter.drawText(place.translated(0, captionLine), Qt::AlignCenter | Qt::TextSingleLine,
                         QColor(screen.pixel(at)).name());
    }
    return image;
}

QImage OverlaySprites::cross(double scale)
{
    const int line = pixels(1, scale);
    const int gap = pixels(4, scale);
    const int arm = pixels(9, scale);
    const int half = gap + arm + line; // from the middle to the edge
    QImage image = blank({2 * half + line, 2 * half + line});
    QPainter painter(&image);
    const auto arms = [&](int grow, const QColor &color) {
        const int thick = line + 2 * grow;
        const int length = arm + 2 * grow;
        const int across = half - grow;
        const int near = half - gap - arm - grow;
        const int far = half + line + gap - grow;
        painter.fillRect(near, across, length, thick, color);
        painter.fillRect(far, across, length, thick, color);
        painter.fillRect(across, near, thick, length, color);
        painter.fillRect(across, far, thick, length, color);
    };
    arms(line, QColor(0, 0, 0, 170));
    arms(0, Qt::white);
    painter.fillRect(half, half, line, line, Qt::white);
    return image;
}

QImage OverlaySprites::camera(double scale)
{
    const int size = pixels(31, scale) | 1;
    const double middle = size / 2.0;
    const auto point = [&](double x, double y) { return QPointF(middle + x * scale, middle + y * scale); };
    QPainterPath path;
    path.addRoundedRect(QRectF(point(-11, -6.5), point(11, 8.5)), 3 * scale, 3 * scale);
    path.moveTo(point(-4.5, -6.5));
    path.lineTo(point(-3, -9.5));
    path.lineTo(point(3, -9.5));
    path.lineTo(point(4.5, -6.5));
    path.addEllipse(point(0, 1), 4.2 * scale, 4.2 * scale);
    return outlined(path, size, scale);
}

} // namespace qm
