#include "library/FieldGround.h"

#include "library/LibraryLook.h"

#include <QPainter>

namespace qm {

void FieldGround::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(LibraryLook::hairline(palette().color(QPalette::WindowText)), 1));
    painter.setBrush(palette().base());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
}

} // namespace qm
