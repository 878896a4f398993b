#include "settings/Lamp.h"

#include "ui/AppLocale.h"
#include "ui/SystemLook.h"

#include <QPainter>

#include <cmath>

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

// Black or white text: both are equally readable at this luminance (WCAG 2.2).
static QColor readableOn(const QColor &color)
{
    const auto linear = [](float c) { return c <= 0.04045F ? c / 12.92F : std::pow((c + 0.055F) / 1.055F, 2.4F); };
    const float luminance =
        0.2126F * linear(color.redF()) + 0.7152F * linear(color.greenF()) + 0.0722F * linear(color.blueF());
    return luminance > 0.179F ? Qt::black : Qt::white;
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
