#include "tests/support/RenderedScreen.h"

#include <QPainter>
#include <QRandomGenerator>

namespace qm {

QImage RenderedScreen::photo(QSize pixels)
{
    QRandomGenerator random(9);
    QImage image(pixels, QImage::Format_RGB32);
    image.fill(Qt::gray);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setOpacity(0.6);
    for (const int cells : {384, 192, 96, 48, 24, 12, 6, 3}) { // the larger, the stronger
        QImage lattice(cells, cells, QImage::Format_RGB32);
        random.fillRange(reinterpret_cast<quint32 *>(lattice.bits()), lattice.sizeInBytes() / 4);
        painter.drawImage(image.rect(), lattice);
    }
    painter.end();
    for (qsizetype i = 0; i < image.sizeInBytes(); ++i) {
        uchar &byte = image.bits()[i];
        byte = i % 4 == 3 ? 255 : uchar(qBound(0, byte + random.bounded(-4, 5), 255)); // the fourth is no colour
    }
    return image;
}

} // namespace qm
