#include "tests/annotate/SampleDocument.h"

#include "annotate/document/ItemFactory.h"

#include <QFontDatabase>
#include <QPainter>

namespace qm {

Image sampleScreenshot(QSize points, int scale)
{
    QImage pixels(points * scale, QImage::Format_RGB32);
    pixels.fill(QColor(214, 222, 230));
    QPainter painter(&pixels);
    painter.scale(scale, scale);
    const QRect window = QRect({0, 0}, points).adjusted(20, 16, -20, -16);
    painter.fillRect(window, Qt::white);
    painter.fillRect(QRect(window.topLeft(), QSize(window.width(), 28)), QColor(72, 84, 102));
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(12);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(window.left() + 12, window.top() + 19, QStringLiteral("Invoices - March"));
    painter.setPen(QColor(40, 44, 52));
    for (int y = window.top() + 52; y < window.bottom() - 8; y += 18) {
        const QString line =
            QStringLiteral("%1  The quick brown fox jumps over the lazy dog, account 4417 1234 5678 %2")
                .arg(y / 18, 4, 10, QLatin1Char('0'))
                .arg(y * 37 % 9000 + 1000);
        painter.drawText(QRect(window.left() + 12, y - 14, window.width() - 24, 18), Qt::AlignVCenter, line);
    }
    return {pixels, points};
}

AnnotationDoc sampleDocument(int scale)
{
    using Kind = Annotation::Kind;
    AnnotationDoc doc{sampleScreenshot({640, 400}, scale), {}, {}};
    const QColor red = QColor::fromRgb(annotationRed), blue(10, 96, 255), green(40, 160, 80);
    const auto add = [&](Kind kind, QRectF rect, QColor color, double width, double rotation = 0,
                         Annotation::BlurShape shape = Annotation::BlurShape::rect) {
        doc.items << Annotation{kind, rect, color, width, {}, shape, rotation};
    };
    add(Kind::blur, {300, 250, 200, 80}, red, 7);
    add(Kind::blur, {60, 60, 150, 90}, red, 7, 0, Annotation::BlurShape::ellipse);
    add(Kind::blur, {440, 60, 120, 60}, red, 7, 0.35);
    add(Kind::rect, {296, 246, 208, 88}, red, 3);
    add(Kind::rect, {250, 90, 90, 60}, green, 6, -0.3);
    add(Kind::ellipse, {60, 230, 160, 70}, blue, 4);
    add(Kind::ellipse, {350, 150, 110, 50}, green, 2, 0.6);
    add(Kind::line, {40, 200, 220, 0}, blue, 1);
    add(Kind::line, {40, 190, 220, -14}, blue, 5);
    add(Kind::arrow, {560, 168, -90, 70}, red, 7);
    add(Kind::arrow, {250, 210, -60, 40}, blue, 2);
    add(Kind::arrow, {600, 60, 5, 5}, green, 3);
    const ItemStyle style{red, 7, {}};
    doc.items << ItemFactory::text(QStringLiteral("Paid twice!"), {300, 20}, style);
    doc.items << ItemFactory::text(QStringLiteral("見積書 gjpq"), {70, 318}, {blue, 4, {}});
    doc.items << ItemFactory::text(QStringLiteral("turned 15°"), {500, 120}, {green, 3, {}});
    doc.items.last().rotation = 0.26;
    return doc;
}

} // namespace qm
