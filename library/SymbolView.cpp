#include "library/SymbolView.h"

#include "ui/Symbol.h"
#include "ui/SystemLook.h"

#include <QIcon>
#include <QPainter>

namespace qm {

SymbolView::SymbolView(const QString &symbol, int size, QWidget *parent)
    : QWidget(parent)
    , m_symbol(symbol)
{
    setFixedSize(size, size);
}

void SymbolView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QColor ink = palette().color(QPalette::Active, QPalette::WindowText);
    painter.setOpacity(SystemLook::secondary(ink).alphaF());
    painter.drawPixmap(rect(), Symbol::icon(m_symbol, ink).pixmap(size(), devicePixelRatioF())); // strokes may overlap
}

} // namespace qm
