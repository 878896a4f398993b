#include "annotate/editor/ColorWell.h"

#include "annotate/editor/SwatchPanel.h"
#include "ui/AppLocale.h"
#include "ui/WindowPlacement.h"

#include <QHideEvent>
#include <QPainter>
#include <QScreen>

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
    const auto chosen = [this](const QColor &color) {
        SwatchPanel::markUsed(color);
        if (onChange)
            onChange(color);
    };
    (new SwatchPanel(
         m_color, chosen, [this] { openDialog(); }, this))
        ->openBelow(*this);
}

void ColorWell::openDialog()
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
        QObject::connect(m_dialog, &QDialog::finished, this,
                         [dialog = m_dialog] { SwatchPanel::markUsed(dialog->currentColor()); });
        const QRect frame = window()->frameGeometry();
        QList<QRect> inSight = keepInSight ? keepInSight() : QList<QRect>();
        inSight << frame;
        // Its own frame is not known yet; it is as wide as this window's.
        const QSize size = m_dialog->sizeHint() + frame.size() - window()->size();
        m_dialog->move(WindowPlacement::clearOf(inSight, size, screen()->availableGeometry()));
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
