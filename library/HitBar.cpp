#include "library/HitBar.h"

#include "library/LibraryLook.h"
#include "library/SecondaryLabel.h"
#include "ui/AppLocale.h"
#include "ui/IconButton.h"

#include <QHBoxLayout>

namespace qm {

static constexpr int symbolSize = 14;

HitBar::HitBar(QWidget *parent)
    : QWidget(parent)
{
    m_count = new SecondaryLabel(QString());
    m_count->setFont(LibraryLook::caption(font()));
    m_count->setWordWrap(false);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_count);
    const auto add = [&](const QString &symbol, const QString &help, int step) {
        auto *button = new IconButton(symbol, help, this);
        button->setAutoRaise(true);
        button->setIconSize({symbolSize, symbolSize});
        connect(button, &QToolButton::clicked, this, [this, step] {
            if (onStep)
                onStep(step);
        });
        layout->addWidget(button);
    };
    add(QStringLiteral("chevron.up"), AppLocale::text(u"Previous match  Shift+F3", u"前の一致  Shift+F3"), -1);
    add(QStringLiteral("chevron.down"), AppLocale::text(u"Next match  F3", u"次の一致  F3"), 1);
    hide();
}

void HitBar::setHits(qsizetype count, qsizetype current)
{
    m_count->setText(AppLocale::text(u"Match %1 of %2", u"一致 %1 / %2").arg(current + 1).arg(count));
    setVisible(count > 0);
}

} // namespace qm
