#include "annotate/editor/PlateButton.h"

#include "ui/AppLocale.h"
#include "ui/SystemLook.h"

#include <QPainter>

namespace qm {

PlateButton::PlateButton(QWidget *parent)
    : QToolButton(parent)
{
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setMaximumWidth(sizeHint().width());
    describe();
    QObject::connect(this, &QToolButton::clicked, this, [this] {
        if (onChange)
            onChange(Annotation::Plate((int(m_plate) + 1) % 3));
    });
}

void PlateButton::setPlate(Annotation::Plate plate)
{
    if (plate == m_plate)
        return;
    m_plate = plate;
    describe();
    update();
}

void PlateButton::describe()
{
    switch (m_plate) {
    case Annotation::Plate::none: setToolTip(AppLocale::text(u"Nothing behind text", u"文字の背景なし")); break;
    case Annotation::Plate::light:
        setToolTip(AppLocale::text(u"A light plate behind text", u"文字の背景は明るい"));
        break;
    case Annotation::Plate::dark: setToolTip(AppLocale::text(u"A dark plate behind text", u"文字の背景は暗い")); break;
    }
    setAccessibleName(toolTip());
}

void PlateButton::paintEvent(QPaintEvent *event)
{
    QToolButton::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor ordinary = palette().color(QPalette::ButtonText);
    QColor rim = ordinary;
    rim.setAlphaF(0.35F);
    painter.setPen(m_plate == Annotation::Plate::none ? QPen(rim, 1, Qt::DotLine) : QPen(rim));
    if (m_plate != Annotation::Plate::none)
        painter.setBrush(m_plate == Annotation::Plate::light ? QColor(Qt::white) : QColor(28, 28, 30));
    const QRectF plate = QRectF(rect()).adjusted(6.5, 6.5, -6.5, -6.5);
    painter.drawRoundedRect(plate, 2.5, 2.5);
    QFont font = SystemLook::semiboldFont();
    font.setPixelSize(11);
    painter.setFont(font);
    painter.setPen(m_plate == Annotation::Plate::none    ? ordinary
                   : m_plate == Annotation::Plate::light ? QColor(Qt::black)
                                                         : QColor(Qt::white));
    painter.drawText(plate, Qt::AlignCenter, AppLocale::text(u"A", u"あ"));
}

} // namespace qm
