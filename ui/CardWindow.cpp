#include "ui/CardWindow.h"

#include "ui/AppLocale.h"
#include "ui/IconButton.h"
#include "ui/Symbol.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include <cmath>

namespace qm {

using AppLocale::text;
using namespace std::chrono_literals;

static constexpr auto stay = 4s;
static constexpr auto frame = 16ms;
static constexpr int frames = 12;
static constexpr double firstOut = 0.6; // the first frame shows something already

static constexpr int padding = 8; // points, as all below
static constexpr int rowHeight = 28;
static constexpr int buttonWidth = 30;
static constexpr int radius = 9;

// Fitted into the space for it, not enlarged, in device pixels.
static QImage fitted(QImage thumbnail, double scale)
{
    const QSize room = CardWindow::maxThumbnail * scale;
    if (thumbnail.width() > room.width() || thumbnail.height() > room.height())
        thumbnail = thumbnail.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    thumbnail.setDevicePixelRatio(scale);
    return thumbnail;
}

std::shared_ptr<CardWindow> CardWindow::make(const QString &file, const QImage &thumbnail, QScreen &monitor,
                                             Actions actions, TaskQueue &time)
{
    // It may be dropped by what one of its own buttons does.
    return {new CardWindow(file, thumbnail, monitor, std::move(actions), time), [](CardWindow *card) {
                card->hide();
                card->deleteLater();
            }};
}

CardWindow::CardWindow(const QString &file, const QImage &thumbnail, QScreen &monitor, Actions actions, TaskQueue &time)
    : FloatingPanel(radius)
    , m_file(file)
    , m_thumbnail(fitted(thumbnail, monitor.devicePixelRatio()))
    , m_actions(std::move(actions))
    , m_time(time)
{
    setScreen(&monitor);
    const int height = std::max(int(std::ceil(m_thumbnail.deviceIndependentSize().height())), rowHeight);
    body()->resize(maxThumbnail.width() + 2 * padding, height + 2 * padding + rowHeight + padding / 2);
    setAccessibleName(text(u"Preview of the capture", u"撮影した画像のプレビュー"));
    setCursor(Qt::PointingHandCursor);

    int x = padding;
    addButton(QStringLiteral("pencil.and.outline"), AppLocale::annotateTitle(), x, [this] { open(); });
    IconButton *copy = addButton(QStringLiteral("doc.on.doc"), text(u"Copy", u"コピー"), x += buttonWidth, {});
    connect(copy, &QToolButton::clicked, this, [this, copy] {
        m_actions.copy();
        copy->setIcon(Symbol::icon(QStringLiteral("checkmark"), copy->palette().color(QPalette::ButtonText)));
    });
    addButton(QStringLiteral("folder"), AppLocale::showInFolderTitle(), x += buttonWidth, [this] {
        m_actions.reveal();
        m_actions.gone();
    });
    addButton(QStringLiteral("trash"), AppLocale::trashTitle(), x + buttonWidth, [this] { m_actions.trash(); });
    addButton(QStringLiteral("xmark"), text(u"Close", u"閉じる"), body()->width() - padding - buttonWidth,
              [this] { m_actions.gone(); });
}

IconButton *CardWindow::addButton(const QString &symbol, const QString &name, int x, std::function<void()> clicked)
{
    auto *button = new IconButton(symbol, name, body());
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setCursor(Qt::ArrowCursor);
    button->setGeometry(x, body()->height() - padding - rowHeight, buttonWidth, rowHeight);
    if (clicked)
        connect(button, &QToolButton::clicked, this, std::move(clicked));
    return button;
}

void CardWindow::slideIn()
{
    setSlide(firstOut);
    show();
    slide(1);
    if (!underMouse())
        waitToLeave();
}

void CardWindow::slide(int direction)
{
    m_framesIn += direction;
    if (m_framesIn < 0)
        return m_actions.gone();
    const double left = 1 - double(m_framesIn) / frames;
    setSlide(firstOut * left * left * left);
    if (m_framesIn < frames)
        m_frame = m_time.postAfter(frame, [this, direction] { slide(direction); });
}

void CardWindow::waitToLeave()
{
    if (isVisible())
        m_leave = m_time.postAfter(stay, [this] { slide(-1); });
}

void CardWindow::enterEvent(QEnterEvent *)
{
    m_leave.cancel();
    if (m_framesIn < frames)
        m_frame = m_time.postAfter(frame, [this] { slide(1); }); // back, if it was leaving
}

void CardWindow::leaveEvent(QEvent *)
{
    if (!m_dragging)
        waitToLeave();
}

void CardWindow::hideEvent(QHideEvent *)
{
    m_frame.cancel();
    m_leave.cancel();
}

void CardWindow::mousePressEvent(QMouseEvent *event)
{
    // What is pressed while it slides in was meant for what it slides over.
    if (event->button() == Qt::LeftButton && m_framesIn >= frames)
        m_press = event->position();
}

void CardWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_press || (event->position() - *m_press).manhattanLength() < QApplication::startDragDistance())
        return;
    m_press.reset();
    drag();
}

void CardWindow::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !std::exchange(m_press, {}))
        return;
    if (!body()->geometry().contains(event->position().toPoint()))
        return;
    open();
}

void CardWindow::open()
{
    m_actions.open();
    m_actions.gone();
}

void CardWindow::drag()
{
    const std::shared_ptr<CardWindow> alive = shared_from_this(); // other programs' time passes meanwhile
    m_dragging = true;
    m_leave.cancel();
    dragFile(m_file, m_thumbnail);
}

void CardWindow::dragEnded(bool isDropped)
{
    m_dragging = false;
    if (isDropped)
        m_actions.gone();
    else if (!underMouse())
        waitToLeave();
}

void CardWindow::paintEvent(QPaintEvent *event)
{
    FloatingPanel::paintEvent(event);
    const QSizeF size = m_thumbnail.deviceIndependentSize();
    const double height = body()->height() - rowHeight - 2.5 * padding;
    const QRectF place(QPointF(body()->x() + std::floor((body()->width() - size.width()) / 2),
                               padding + std::floor((height - size.height()) / 2)),
                       size);
    QPainter painter(this);
    painter.drawImage(place.topLeft(), m_thumbnail);
    QColor edge = palette().color(QPalette::WindowText); // of a picture in the card's own colour
    edge.setAlphaF(0.15F);
    painter.setPen(edge);
    painter.drawRect(place.adjusted(-0.5, -0.5, 0.5, 0.5));
}

} // namespace qm
