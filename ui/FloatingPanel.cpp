#include "ui/FloatingPanel.h"

#include "platform/NativeLook.h"
#include "ui/WindowPlacement.h"

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QUrl>
#include <QWindow>

#include <cmath>

namespace qm {

// At least 3 : 1 against black, white and the panel in light and in dark mode.
static constexpr QColor hairline(0x80, 0x83, 0x87);

bool FloatingPanel::isPossible()
{
    return WindowPlacement::isOurs() || PanelSurface::isOffered();
}

FloatingPanel::FloatingPanel(int radius)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::BypassWindowManagerHint |
                           Qt::WindowDoesNotAcceptFocus)
    , m_body(new QWidget(this))
    , m_radius(radius)
    , m_blends(!WindowPlacement::isOurs() || NativeLook::blendsWindows())
{
    setAttribute(Qt::WA_ShowWithoutActivating);
    const bool isPicture = !WindowPlacement::isOurs() && PanelSurface::isOffered();
    setAttribute(Qt::WA_DontShowOnScreen, isPicture);
    setAttribute(Qt::WA_AlwaysShowToolTips, !isPicture); // otherwise only an active window has them
    setAttribute(Qt::WA_X11NetWmWindowTypeNotification);
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setAttribute(Qt::WA_QuitOnClose, false);
    setAttribute(m_blends ? Qt::WA_TranslucentBackground : Qt::WA_OpaquePaintEvent);
}

void FloatingPanel::place(int above)
{
    m_above = margin + above;
    if (m_surface)
        m_surface->setAbove(m_above);
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

bool FloatingPanel::event(QEvent *event)
{
    const bool isHandled = QWidget::event(event); // which may delete this
    switch (event->type()) {
    case QEvent::Show: openSurface(); break;
    case QEvent::Hide: m_surface.reset(); break;
    case QEvent::UpdateRequest: showOnSurface(); break;
    default: break;
    }
    return isHandled;
}

void FloatingPanel::openSurface()
{
    if (!testAttribute(Qt::WA_DontShowOnScreen))
        return;
    PanelSurface::Pointer pointer;
    pointer.entered = [this](QPointF at) {
        QEnterEvent event(at, at, mapToGlobal(at));
        hear(event, at);
    };
    const auto mouse = [this](QEvent::Type type, QPointF at, Qt::MouseButton button) {
        QMouseEvent event(type, at, mapToGlobal(at), button, m_buttons, Qt::NoModifier);
        hear(event, at);
    };
    pointer.moved = [mouse](QPointF at) { mouse(QEvent::MouseMove, at, Qt::NoButton); };
    pointer.button = [this, mouse](QPointF at, Qt::MouseButton button, bool isDown) {
        m_buttons.setFlag(button, isDown);
        mouse(isDown ? QEvent::MouseButtonPress : QEvent::MouseButtonRelease, at, button);
    };
    pointer.left = [this] {
        QEvent event(QEvent::Leave);
        hear(event, {});
    };
    pointer.dragEnded = [this](bool isDropped) { dragEnded(isDropped); };
    m_buttons = {};
    m_surface = PanelSurface::make(size(), m_above, std::move(pointer));
    showOnSurface();
}

void FloatingPanel::showOnSurface()
{
    if (!m_surface)
        return;
    const double scale = std::ceil(qApp->devicePixelRatio()); // of the finest monitor
    QImage picture(size() * scale, QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    const QRect seen = mask().boundingRect();
    render(&picture, seen.topLeft(), seen, DrawChildren);
    m_surface->show(picture, seen);
}

// What the window would hear from the desktop.
void FloatingPanel::hear(QEvent &event, QPointF at)
{
    QCoreApplication::sendEvent(windowHandle(), &event);
    const QWidget *under = childAt(at.toPoint());
    if (m_surface && event.type() != QEvent::Leave) // it may have gone by that
        m_surface->setCursor((under ? under : this)->cursor().shape());
}

void FloatingPanel::dragFile(const QString &path, const QImage &picture)
{
    if (m_surface) {
        m_surface->dragFile(path, picture);
        m_buttons = {}; // its release is the drag's
        const QPointF outside(-1, -1);
        QMouseEvent release(QEvent::MouseButtonRelease, outside, mapToGlobal(outside), Qt::LeftButton, {}, {});
        hear(release, outside);
        return;
    }
    auto *mime = new QMimeData;
    mime->setUrls({QUrl::fromLocalFile(path)});
    auto *drag = new QDrag(qApp); // the other program asks for the data once it has ended here, and this is gone
    drag->setMimeData(mime);
    drag->setPixmap(QPixmap::fromImage(picture));
    dragEnded(drag->exec(Qt::CopyAction) != Qt::IgnoreAction);
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
