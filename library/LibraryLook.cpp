#include "library/LibraryLook.h"

#include "app/base/Symbol.h"
#include "app/base/SystemLook.h"

#include <QFontInfo>
#include <QIcon>
#include <QPainter>
#include <QPalette>

namespace qm {

static QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(float(color.alphaF() * alpha));
    return color;
}

static QColor mixed(const QColor &a, const QColor &b, double partOfB)
{
    const auto mix = [&](int x, int y) { return int(x + (y - x) * partOfB + 0.5); };
    return QColor(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

QColor LibraryLook::secondary(const QColor &text)
{
    return withAlpha(text, 0.62);
}

QColor LibraryLook::hairline(const QColor &text)
{
    return withAlpha(text, 0.3);
}

QColor LibraryLook::quietSelection(const QPalette &palette)
{
    return mixed(palette.color(QPalette::Active, QPalette::Window),
                 palette.color(QPalette::Active, QPalette::WindowText), 0.14);
}

QColor LibraryLook::marked(const QPalette &palette)
{
    return SystemLook::isDark(palette) ? QColor(0x80, 0x62, 0x00) : QColor(0xff, 0xe0, 0x80);
}

QFont LibraryLook::caption(const QFont &font)
{
    QFont smaller = font;
    smaller.setPointSizeF(QFontInfo(font).pointSizeF() * 0.88);
    return smaller;
}

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
    painter.setOpacity(LibraryLook::secondary(ink).alphaF());
    Symbol::icon(m_symbol, ink).paint(&painter, rect());
}

} // namespace qm
