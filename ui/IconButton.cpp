#include "ui/IconButton.h"

#include "ui/Symbol.h"
#include "ui/SystemLook.h"

#include <QEvent>

namespace qm {

IconButton::IconButton(const QString &symbol, const QString &help, QWidget *parent)
    : QToolButton(parent)
    , m_symbol(symbol)
{
    setToolTip(help);
    setAccessibleName(help.section(QStringLiteral("  "), 0, 0)); // without the shortcut
    setIconSize({18, 18});
    setFocusPolicy(Qt::TabFocus); // a click leaves the keyboard focus with the canvas
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setMaximumWidth(sizeHint().width());
    tint();
}

void IconButton::setActive(bool active)
{
    if (m_active == active)
        return;
    m_active = active;
    setCheckable(active); // for screen readers; a click asks and does not toggle
    setChecked(active);
    tint();
}

void IconButton::tint()
{
    m_tinting = true;
    setPalette({}); // the window's palette
    QPalette colors = palette();
    if (m_active) {
        const QColor accent = SystemLook::accent(colors);
        for (const auto role : {QPalette::Button, QPalette::Dark, QPalette::Mid})
            colors.setColor(role, accent);
        colors.setColor(QPalette::ButtonText, colors.color(QPalette::Active, QPalette::HighlightedText));
        setPalette(colors);
    }
    setIcon(Symbol::icon(m_symbol, colors.color(QPalette::Active, QPalette::ButtonText)));
    m_tinting = false;
}

void IconButton::changeEvent(QEvent *event)
{
    QToolButton::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !m_tinting)
        tint();
}

} // namespace qm
