#include "library/SecondaryLabel.h"

#include "ui/SystemLook.h"

#include <QPainter>

namespace qm {

SecondaryLabel::SecondaryLabel(const QString &text, QWidget *parent)
    : QLabel(text, parent)
{
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
}

// Not a palette role: the one for placeholders is black in some dark palettes.
void SecondaryLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(SystemLook::secondaryText(palette()));
    painter.drawText(contentsRect(), int(alignment()) | Qt::TextWordWrap, text());
}

} // namespace qm
