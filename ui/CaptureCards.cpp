#include "ui/CaptureCards.h"

#include "platform/Notification.h"
#include "ui/AppLocale.h"
#include "ui/CardWindow.h"
#include "ui/WindowPlacement.h"

#include <QApplication>
#include <QFileInfo>
#include <QScreen>

#include <algorithm>
#include <map>

namespace qm {

using namespace std::chrono_literals;

static constexpr size_t maxCards = 3;
static constexpr auto comeBackLimit = 30s;
static constexpr int largestScale = 3;

CaptureCards::CaptureCards(Actions actions, TaskQueue &time)
    : m_actions(std::move(actions))
    , m_time(time)
{
}

CaptureCards::~CaptureCards() = default;

void CaptureCards::show(const CaptureCard &card)
{
    if (!FloatingPanel::isPossible())
        return offer(card.file);
    remove(card.file);
    for (const CaptureCard &earlier : std::exchange(m_takenAway, {}))
        open(earlier);
    m_forget.cancel();
    open(card);
    arrange();
    for (const Entry &entry : m_cards) {
        if (!entry.window->isVisible())
            entry.window->slideIn();
    }
}

void CaptureCards::offer(const QString &file)
{
    const auto with = [&file](const auto &action) { return [action, file] { action(file); }; };
    Notification::offer(AppLocale::text(u"Screenshot saved", u"スクリーンショットを保存しました"),
                        QFileInfo(file).fileName(), file,
                        {{AppLocale::annotateTitle(), with(m_actions.open)},
                         {AppLocale::showInFolderTitle(), with(m_actions.reveal)},
                         {AppLocale::trashTitle(), with(m_actions.trash)}});
}

void CaptureCards::open(const CaptureCard &card)
{
    QScreen *monitor = WindowPlacement::screenWithMost(card.area);
    if (!monitor)
        return;
    const auto with = [file = card.file](const auto &action) { return [action, file] { action(file); }; };
    const CardWindow::Actions actions = {.open = with(m_actions.open),
                                         .copy = with(m_actions.copy),
                                         .reveal = with(m_actions.reveal),
                                         .trash = with(m_actions.trash),
                                         .gone = [this, file = card.file] { remove(file); }};
    m_cards.push_back({card, CardWindow::make(card.file, card.thumbnail, *monitor, actions, m_time)});
    if (m_cards.size() > maxCards)
        m_cards.erase(m_cards.begin());
}

void CaptureCards::remove(const QString &file)
{
    std::erase_if(m_takenAway, [&](const CaptureCard &card) { return card.file == file; });
    if (std::erase_if(m_cards, [&](const Entry &entry) { return entry.card.file == file; }))
        arrange();
}

void CaptureCards::arrange()
{
    std::map<QScreen *, int> above;
    for (size_t i = m_cards.size(); i-- > 0;) {
        CardWindow &window = *m_cards[i].window;
        int &height = above[window.screen()];
        window.place(height);
        height += window.height() + FloatingPanel::margin;
        const bool fits = window.y() >= window.screen()->availableGeometry().top();
        if (!fits && i + 1 < m_cards.size())
            m_cards.erase(m_cards.begin() + ptrdiff_t(i));
    }
}

QRect CaptureCards::takeAway()
{
    QRect covered;
    if (m_cards.empty())
        return covered;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->inherits("QTipLabel")) {
            covered |= WindowPlacement::toNative(window->geometry(), *window->screen());
            window->hide(); // QToolTip would take its time
        }
    }
    for (const Entry &entry : m_cards) {
        covered |= entry.window->nativeFrame();
        entry.window->hide();
        m_takenAway.push_back(entry.card);
    }
    m_cards.clear();
    m_forget = m_time.postAfter(comeBackLimit, [this] { m_takenAway.clear(); });
    return covered;
}

QImage CaptureCards::thumbnailOf(const QImage &picture)
{
    // Of a long page or strip, the beginning: the whole would be a line.
    const QSize seen = picture.size().boundedTo({picture.height() * 8, picture.width() * 5 / 2});
    QImage part = seen == picture.size() ? picture : picture.copy(QRect(QPoint(), seen));
    part.setDevicePixelRatio(1);
    const QSize room = CardWindow::maxThumbnail * largestScale;
    if (part.width() <= room.width() && part.height() <= room.height())
        return part;
    // Four samples for each pixel are enough, and of a large screen eight times as fast as all.
    if (part.width() > 2 * room.width() || part.height() > 2 * room.height())
        part = part.scaled(2 * room, Qt::KeepAspectRatio);
    return part.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace qm
