#include "annotate/editor/ColorWell.h"

#include "ui/AppLocale.h"

#include <QHideEvent>
#include <QPainter>

namespace qm {

ColorWell::ColorWell(QWidget *parent)
    : QToolButton(parent)
{
    setToolTip(AppLocale::text(u"Color", u"色"));
    setAccessibleName(toolTip());
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setMaximumWidth(sizeHint().width());
    QObject::connect(this, &QToolButton::clicked, this, [this] { choose(); });
}

void ColorWell::setColor(const QColor &color)
{
    if (color == m_color)
        return;
    m_color = color;
    update();
}

void ColorWell::choose()
{
    if (!m_dialog || !m_dialog->isVisible()) {
        delete m_dialog;
        m_dialog = new QColorDialog(m_color, this);
        m_dialog->setWindowTitle(toolTip());
        m_dialog->setAttribute(Qt::WA_DeleteOnClose);
        m_dialog->setOption(QColorDialog::NoButtons); // every change applies at once
        QObject::connect(m_dialog, &QColorDialog::currentColorChanged, this, [this](const QColor &color) {
            if (color.isValid() && onChange)
                onChange(QColor::fromRgb(color.rgb()));
        });
    }
    m_dialog->show();
    m_dialog->raise();
    m_dialog->activateWindow();
}

// A closing window closes its dialogs only when it is deleted.
void ColorWell::hideEvent(QHideEvent *event)
{
    if (m_dialog && !event->spontaneous())
        m_dialog->close();
    QToolButton::hideEvent(event);
}

void ColorWell::paintEvent(QPaintEvent *event)
{
    QToolButton::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor rim = palette().color(QPalette::ButtonText);
    rim.setAlphaF(0.35F);
    painter.setPen(rim);
    painter.setBrush(m_color);
    painter.drawRoundedRect(QRectF(rect()).adjusted(6.5, 6.5, -6.5, -6.5), 2.5, 2.5);
}

} // namespace qm
