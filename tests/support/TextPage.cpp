#include "tests/support/TextPage.h"

#include <QPainter>

namespace qm {

QImage TextPage::painted() const
{
    const int pitch = pixelSize * 8 / 5;
    QImage picture(width, 20 + pitch * int(lines.size()), QImage::Format_RGB32);
    picture.fill(paper);
    QPainter painter(&picture);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    painter.setFont(font);
    painter.setPen(ink);
    for (int i = 0; i < lines.size(); ++i)
        painter.drawText(20, 10 + pitch * (i + 1) - pixelSize / 3, lines[i]);
    return picture;
}

} // namespace qm
