#include "ui/FloatingPanel.h"

#include "platform/NativeLook.h"
#include "ui/WindowPlacement.h"

#include <QPainter>
#include <QPainterPath>
#include <QScreen>

#include <cmath>

namespace qm {

// At least 3 : 1 against black, white and the panel in light and in dark mode.
static constexpr QColor hairline(0x80, 0x83, 0x87);

FloatingPanel::FloatingPanel(int radius)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::BypassWindowManagerHint |
                           Qt::WindowDoesNotAcceptFocus)
    , m_body(new QWidget(this))
    , m_radius(radius)
    , m_blends(NativeLook::blendsWindows())
{
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_AlwaysShowToolTips); // otherwise only an active window has them
    setAttribute(Qt::WA_X11NetWmWindowTypeNotification);
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setAttribute(Qt::WA_QuitOnClose, false);
    setAttribute(m_blends ? Qt::WA_TranslucentBackground : Qt::WA_OpaquePaintEvent);
}

void FloatingPanel::place(int above)
{
    const QRect room = screen()->availableGeometry();
    const QSize size = m_body->size();
    // As far as the edge, so that it slides within.
    setGeometry(room.right() + 1 - margin - size.width(), room.bottom() + 1 - margin - above - size.height(),
                size.width() + margin, size.height());
    shape();
}

void FloatingPanel::setSlide(double out)
{
    m_out = out;
    shape();
}

void FloatingPanel::shape()
{
    m_body->move(int(std::lround(m_out * width())), 0);
    QRegion seen(m_body->geometry());
    if (!m_blends) {
        QPainterPath rounded;
        // Somewhat less, which leaves the hairline whole.
        rounded.addRoundedRect(m_body->geometry(), m_radius - 2, m_radius - 2);
        seen = QRegion(rounded.toFillPolygon().toPolygon());
    }
    setMask(seen & rect()); // what lies beside it gets the clicks
    update();
}

QRect FloatingPanel::nativeFrame() const
{
    return WindowPlacement::toNative(geometry(), *screen());
}

void FloatingPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), m_blends ? QColor(Qt::transparent) : hairline);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(hairline);
    painter.setBrush(palette().window());
    painter.drawRoundedRect(QRectF(m_body->geometry()).adjusted(0.5, 0.5, -0.5, -0.5), m_radius - 0.5, m_radius - 0.5);
}

} // namespace qm
