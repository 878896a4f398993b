#include "library/ActionRow.h"

#include "platform/QtQueue.h"
#include "ui/Symbol.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPushButton>

namespace qm {

using namespace std::chrono_literals;

static constexpr int gap = 8;
static constexpr int symbolSize = 16;

ActionRow::ActionRow(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(gap);
    for (const ShotAction action :
         {ShotAction::copy, ShotAction::annotate, ShotAction::showInFolder, ShotAction::open}) {
        auto *button = new QPushButton;
        button->setIconSize({symbolSize, symbolSize});
        button->setAccessibleName(ShotActions::title(action));
        connect(button, &QPushButton::clicked, this, [this, action] {
            if (onAction)
                onAction(action);
        });
        m_buttons[action] = button;
        layout->addWidget(button);
    }
    layout->addStretch();
    button(ShotAction::copy)->setDefault(true);
    refresh();
}

void ActionRow::refresh()
{
    const QColor ink = palette().color(QPalette::ButtonText);
    int width = -gap;
    for (const auto &[action, button] : m_buttons) {
        const bool confirmed = action == ShotAction::copy && m_confirmation.isActive();
        button->setIcon(Symbol::icon(confirmed ? QStringLiteral("checkmark") : ShotActions::symbol(action), ink));
        button->setText(ShotActions::title(action));
        width += button->sizeHint().width() + gap;
        if (m_compact)
            button->setText({});
        button->setToolTip(m_compact ? ShotActions::title(action) : QString());
    }
    m_fullWidth = width;
}

QSize ActionRow::minimumSizeHint() const
{
    return {1, QWidget::minimumSizeHint().height()};
}

void ActionRow::confirmCopy()
{
    m_confirmation = QtQueue::main().postAfter(1500ms, [this] { refresh(); });
    refresh();
}

void ActionRow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    const bool compact = width() < m_fullWidth;
    if (compact == m_compact)
        return;
    m_compact = compact;
    refresh();
}

void ActionRow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        refresh();
}

} // namespace qm
