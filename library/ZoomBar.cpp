#include "library/ZoomBar.h"

#include "library/LibraryLook.h"
#include "library/SecondaryLabel.h"
#include "ui/AppLocale.h"

#include <QHBoxLayout>
#include <QToolButton>

#include <cmath>

namespace qm {

ZoomBar::ZoomBar(QWidget *parent)
    : QWidget(parent)
{
    setFont(LibraryLook::caption(font()));
    m_percentage = new SecondaryLabel(QString());
    m_percentage->setFont(font());
    m_percentage->setWordWrap(false);
    m_percentage->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_percentage->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("100 %"))); // so that nothing moves
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_percentage);
    layout->addSpacing(4);
    m_all = addButton(AppLocale::text(u"Fit", u"全体"), AppLocale::text(u"Show all of it", u"全体を表示"),
                      PictureZoom::Mode::fit);
    m_width =
        addButton(AppLocale::text(u"Width", u"幅"),
                  AppLocale::text(u"Show its whole width  Ctrl+0", u"幅に合わせる  Ctrl+0"), PictureZoom::Mode::width);
    m_actual = addButton(QStringLiteral("100 %"), AppLocale::text(u"Actual size  Ctrl+1", u"実際のサイズ  Ctrl+1"),
                         PictureZoom::actualSize());
    setZoom({}, 0, false);
}

QToolButton *ZoomBar::addButton(const QString &title, const QString &help, const PictureZoom &zoom)
{
    auto *button = new QToolButton;
    button->setText(title);
    button->setToolTip(help);
    button->setAccessibleName(help.section(QStringLiteral("  "), 0, 0)); // without the key
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus); // a click leaves the keyboard focus with the picture
    connect(button, &QToolButton::clicked, this, [this, zoom] {
        if (onZoom)
            onZoom(zoom);
    });
    layout()->addWidget(button);
    return button;
}

void ZoomBar::setZoom(const PictureZoom &zoom, double percentage, bool isTall)
{
    m_percentage->setText(percentage > 0 ? QStringLiteral("%1 %").arg(std::max(1L, std::lround(percentage)))
                                         : QString());
    m_width->setVisible(isTall);
    m_all->setToolTip(m_all->accessibleName() + (isTall ? QString() : QStringLiteral("  Ctrl+0")));
    for (const auto &[button, isOn] :
         {std::pair(m_all, zoom.mode() == PictureZoom::Mode::fit),
          std::pair(m_width, zoom.mode() == PictureZoom::Mode::width), std::pair(m_actual, zoom.isActualSize())}) {
        button->setCheckable(isOn); // a click asks and does not toggle
        button->setChecked(isOn);
        button->setEnabled(percentage > 0);
        button->update(); // the first of these forgets to
    }
}

} // namespace qm
