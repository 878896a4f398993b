#include "helpers/qmscroll/macos/OverlayWindows.h"

#include "helpers/qmscroll/ScrollPanel.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

namespace qm {

namespace {

constexpr int frameLine = 2;
constexpr int frameBorder = 1;
constexpr int smallestEdge = 16; // of a region; anything smaller is a click
constexpr QColor accent(0x0a, 0x84, 0xff);
constexpr QColor dimmed(0, 0, 0, 90);
constexpr QColor clickable(0, 0, 0, 1); // where nothing is painted, clicks go to the window below

void makeOverlay(QWindow &window, const QRect &area, Qt::WindowFlags more = {})
{
    QSurfaceFormat format = window.format();
    format.setAlphaBufferSize(8);
    window.setFormat(format);
    // A plain window: the system hides panels while another application is in front.
    window.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint |
                    Qt::WindowDoesNotAcceptFocus | more);
    window.setGeometry(area);
}

void clear(QPainter &painter, const QRect &area)
{
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(area, Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

} // namespace

RegionWindow::RegionWindow(QScreen *screen, std::function<void(QRect)> drawn)
    : m_drawn(std::move(drawn))
{
    setScreen(screen);
    makeOverlay(*this, screen->geometry());
    setCursor(Qt::CrossCursor);
}

QRect RegionWindow::selection() const
{
    if (!m_from)
        return {};
    const QRect drawn(std::min(m_from->x(), m_to.x()), std::min(m_from->y(), m_to.y()),
                      std::abs(m_to.x() - m_from->x()), std::abs(m_to.y() - m_from->y()));
    return drawn & QRect(QPoint(), size());
}

void RegionWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    clear(painter, QRect(QPoint(), size()));
    painter.fillRect(QRect(QPoint(), size()), dimmed);
    const QRect region = selection();
    if (region.isEmpty())
        return;
    clear(painter, region);
    painter.fillRect(region, clickable);
    painter.setPen(accent);
    painter.drawRect(region.adjusted(-1, -1, 0, 0)); // the line also covers the pixels right of and below the rectangle
}

void RegionWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_from = m_to = event->position().toPoint();
    update();
}

void RegionWindow::mouseMoveEvent(QMouseEvent *event)
{
    m_to = event->position().toPoint();
    if (m_from)
        update();
}

void RegionWindow::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QRect region = selection();
    m_from.reset();
    update();
    if (region.width() >= smallestEdge && region.height() >= smallestEdge)
        m_drawn(region.translated(position()));
}

FrameWindow::FrameWindow(const QRect &region)
{
    makeOverlay(*this, outerArea(region), Qt::WindowTransparentForInput);
}

QRect FrameWindow::outerArea(const QRect &region)
{
    constexpr int width = frameLine + frameBorder;
    return region.adjusted(-width, -width, width, width);
}

void FrameWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect all(QPoint(), size());
    painter.fillRect(all, Qt::white);
    painter.fillRect(all.adjusted(frameBorder, frameBorder, -frameBorder, -frameBorder), accent);
    constexpr int width = frameLine + frameBorder;
    clear(painter, all.adjusted(width, width, -width, -width));
}

PanelWindow::PanelWindow(const QRect &area, double scale, std::function<void(const ScrollDesktop::Input &)> told)
    : m_scale(scale)
    , m_told(std::move(told))
{
    makeOverlay(*this, area);
}

void PanelWindow::setPicture(const QImage &picture)
{
    m_picture = picture;
    m_picture.setDevicePixelRatio(m_scale);
    update();
}

void PanelWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect all(QPoint(), size());
    clear(painter, all);
    const double radius = ScrollPanel::cornerRadius(m_scale) / m_scale;
    QPainterPath shape;
    shape.addRoundedRect(all, radius, radius);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipPath(shape);
    painter.drawImage(0, 0, m_picture);
}

void PanelWindow::tell(ScrollDesktop::Input::Kind kind, const QMouseEvent &event)
{
    m_told({kind, (event.position() * m_scale).toPoint()});
}

bool PanelWindow::event(QEvent *event)
{
    if (event->type() == QEvent::Leave)
        m_told({ScrollDesktop::Input::Kind::pointer, {-1, -1}});
    return QRasterWindow::event(event);
}

void PanelWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        tell(ScrollDesktop::Input::Kind::press, *event);
}

void PanelWindow::mouseMoveEvent(QMouseEvent *event)
{
    tell(ScrollDesktop::Input::Kind::pointer, *event);
}

void PanelWindow::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        tell(ScrollDesktop::Input::Kind::release, *event);
}

} // namespace qm
