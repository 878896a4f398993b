#include "settings/Lamp.h"

#include "ui/AppLocale.h"
#include "ui/SystemLook.h"

#include <QPainter>

namespace qm {

Lamp::Lamp(const QString &text)
    : QLabel(text)
{
    setAlignment(Qt::AlignCenter);
    setContentsMargins(12, 3, 12, 3);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(text);
}

void Lamp::setLit(bool lit)
{
    if (m_lit == lit)
        return;
    m_lit = lit;
    setAccessibleName(lit ? text() + AppLocale::text(u": recognized", u": 認識しました") : text());
    update();
}

static QColor readableOn(const QColor &color)
{
    return SystemLook::contrast(Qt::black, color) > SystemLook::contrast(Qt::white, color) ? Qt::black : Qt::white;
}

void Lamp::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF body = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const QColor light = SystemLook::accent(palette());
    const QColor off = SystemLook::secondaryText(palette());
    painter.setPen(m_lit ? light : off);
    painter.setBrush(m_lit ? QBrush(light) : QBrush(Qt::NoBrush));
    painter.drawRoundedRect(body, body.height() / 2, body.height() / 2);
    painter.setPen(m_lit ? readableOn(light) : off);
    painter.drawText(rect(), Qt::AlignCenter, text());
}

} // namespace qm
