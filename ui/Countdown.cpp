#include "ui/Countdown.h"

#include "ui/AppLocale.h"
#include "ui/Symbol.h"
#include "ui/SystemLook.h"
#include "ui/WindowPlacement.h"

#include <QPainter>

namespace qm {

using AppLocale::text;
using namespace std::chrono_literals;

static constexpr auto rest = 300ms;

static constexpr int pillHeight = 36; // points, as all below
static constexpr int padding = 12;
static constexpr int symbolSize = 18;
static constexpr int crossSize = 12;

static QFont numberFont()
{
    QFont font = SystemLook::semiboldFont();
    font.setPixelSize(18);
    return font;
}

Countdown::Countdown(std::chrono::seconds time, std::function<void(QRect place)> finished, TaskQueue &queue)
    : FloatingPanel(pillHeight / 2)
    , m_left(time)
    , m_finished(std::move(finished))
    , m_queue(queue)
{
    if (time < 1s) {
        m_next = m_queue.postAfter(0ms, [this] { finish(); });
        return;
    }
    const QString widest(QString::number(time.count()).size(), u'0');
    const int number = QFontMetrics(numberFont()).horizontalAdvance(widest);
    body()->resize(padding + symbolSize + padding + number + padding + crossSize + padding, pillHeight);
    body()->setToolTip(text(u"Click to cancel the capture", u"クリックで撮影を中止します"));
    setCursor(Qt::PointingHandCursor);
    if (QScreen *screen = WindowPlacement::activeScreen())
        setScreen(screen);
    place(0);
    count();
    show();
}

void Countdown::count()
{
    setAccessibleName(text(u"Capture in %1 s", u"%1 秒後に撮影").arg(m_left.count()));
    update();
    m_next = m_left > 1s ? m_queue.postAfter(1s, [this] { --m_left, count(); })
                         : m_queue.postAfter(1s - rest, [this] { finish(); });
}

void Countdown::finish()
{
    const QRect place = isVisible() ? nativeFrame() : QRect();
    hide();
    const auto finished = std::exchange(m_finished, {});
    finished(place);
}

void Countdown::mousePressEvent(QMouseEvent *)
{
    m_next.cancel();
    hide();
}

void Countdown::paintEvent(QPaintEvent *event)
{
    FloatingPanel::paintEvent(event);
    QPainter painter(this);
    const QColor ink = palette().color(QPalette::WindowText);
    const auto draw = [&](const QString &symbol, int x, int size, const QColor &color) {
        Symbol::icon(symbol, color).paint(&painter, x, (pillHeight - size) / 2, size, size);
    };
    draw(QStringLiteral("camera.viewfinder"), padding, symbolSize, ink);
    const int right = body()->width() - padding - crossSize;
    draw(QStringLiteral("xmark"), right, crossSize, SystemLook::secondary(ink));
    painter.setPen(ink);
    painter.setFont(numberFont());
    painter.drawText(QRect(padding + symbolSize, 0, right - padding - symbolSize, pillHeight), Qt::AlignCenter,
                     QString::number(m_left.count()));
}

} // namespace qm
