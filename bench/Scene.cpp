#include "bench/Scene.h"

#include "annotate/document/ItemFactory.h"

#include <QFontDatabase>
#include <QPainter>

namespace qm {

Image bench::screen(QSize size)
{
    QImage pixels(size, QImage::Format_RGB32);
    pixels.fill(QColor(38, 41, 48));
    QPainter painter(&pixels);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(22);
    painter.setFont(font);
    for (int column = 0; column < 4; ++column) {
        const QRect window(40 + column * size.width() / 4, 60, size.width() / 4 - 60, size.height() - 120);
        painter.fillRect(window, column % 2 ? QColor(250, 250, 248) : QColor(30, 32, 38));
        painter.setPen(column % 2 ? QColor(30, 30, 30) : QColor(200, 205, 210));
        for (int y = window.top() + 40; y < window.bottom(); y += 30)
            painter.drawText(window.left() + 20, y,
                             QStringLiteral("%1  if (value[%2] != expected) return failure(%3);")
                                 .arg(y)
                                 .arg(y * 7 % 97)
                                 .arg(y * 13 % 1009));
    }
    return {pixels, QSizeF(size)};
}

AnnotationDoc bench::document(const Image &source)
{
    using Kind = Annotation::Kind;
    AnnotationDoc doc{source, {}, {}};
    const Kind kinds[] = {Kind::line, Kind::arrow, Kind::rect, Kind::ellipse, Kind::text};
    for (int i = 0; i < 17; ++i) {
        const QPointF at(300 + i % 5 * 900, 200 + i / 5 * 600);
        Annotation item{kinds[i % 5], {at, QSizeF(500, 300)}, QColor::fromHsv(i * 20, 220, 230), 7, {}, {}, 0};
        if (item.kind == Kind::text)
            item = ItemFactory::text(QStringLiteral("Look at number %1").arg(i), at, {item.color, 12, {}});
        doc.items << item;
    }
    for (int i = 0; i < 3; ++i)
        doc.items << Annotation{Kind::blur, QRectF(500 + i * 1500, 900, 700, 500),
                                Qt::red,    7,
                                {},         i == 1 ? Annotation::BlurShape::ellipse : Annotation::BlurShape::rect,
                                0};
    return doc;
}

} // namespace qm
