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
    const QString line = QStringLiteral("The quick brown fox jumps over the lazy dog, account 4417 1234 5678 %1");
    for (int y = window.top() + 52; y < window.bottom() - 8; y += 18)
        painter.drawText(window.left() + 12, y, line.arg(y * 37));
    return {pixels, points};
}

AnnotationDoc sampleDocument(int scale)
{
    using Kind = Annotation::Kind;
    const QColor red = QColor::fromRgb(annotationRed), blue(10, 96, 255), green(40, 160, 80);
    constexpr auto rect = Annotation::BlurShape::rect, ellipse = Annotation::BlurShape::ellipse;
    AnnotationDoc doc{sampleScreenshot({640, 400}, scale), {}, {}};
    doc.items = {
        {Kind::blur, {300, 250, 200, 80}, red, 7, {}, rect, 0},
        {Kind::blur, {60, 60, 150, 90}, red, 7, {}, ellipse, 0},
        {Kind::blur, {440, 60, 120, 60}, red, 7, {}, rect, 0.35},
        {Kind::rect, {296, 246, 208, 88}, red, 3, {}, rect, 0},
        {Kind::rect, {250, 90, 90, 60}, green, 6, {}, rect, -0.3},
        {Kind::ellipse, {60, 230, 160, 70}, blue, 4, {}, rect, 0},
        {Kind::ellipse, {350, 150, 110, 50}, green, 2, {}, rect, 0.6},
        {Kind::line, {40, 200, 220, 0}, blue, 1, {}, rect, 0},
        {Kind::line, {40, 190, 220, -14}, blue, 5, {}, rect, 0},
        {Kind::arrow, {560, 168, -90, 70}, red, 7, {}, rect, 0},
        {Kind::arrow, {600, 60, 5, 5}, green, 3, {}, rect, 0},
        ItemFactory::text(QStringLiteral("Paid twice!"), {300, 20}, {red, 7, {}}),
        ItemFactory::text(QStringLiteral("見積書 gjpq"), {70, 318}, {blue, 4, {}}),
        ItemFactory::text(QStringLiteral("turned 15°"), {500, 120}, {green, 3, {}}),
    };
    doc.items.last().rotation = 0.26;
    doc.items << Annotation{Kind::cover, {520, 300, 70.5, 30.5}, red, 7, {}, rect, 0.2}
              << Annotation{Kind::highlighter, {30, 345, 300, 30}, QColor(255, 204, 0), 5, {}, rect, 0}
              << ItemFactory::number(1, {40, 340}, {blue, 5, {}, {}})
              << ItemFactory::pen({{420, 300}, {440, 330}, {470, 310}, {465, 280}, {430, 300}}, {green, 4, {}, {}})
              << ItemFactory::text(QStringLiteral("on a plate"), {330, 60}, {red, 3, {}, Annotation::Plate::dark});
    return doc;
}

} // namespace qm
