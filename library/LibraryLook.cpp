#include "library/LibraryLook.h"

#include "ui/Symbol.h"
#include "ui/SystemLook.h"

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
    painter.setOpacity(SystemLook::secondary(ink).alphaF());
    painter.drawPixmap(rect(), Symbol::icon(m_symbol, ink).pixmap(size(), devicePixelRatioF())); // strokes may overlap
}

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
    painter.drawText(contentsRect(), Qt::AlignCenter | Qt::TextWordWrap, text());
}

void FieldGround::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(LibraryLook::hairline(palette().color(QPalette::WindowText)), 1));
    painter.setBrush(palette().base());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
}

namespace {

class LineHandle : public QSplitterHandle
{
public:
    using QSplitterHandle::QSplitterHandle;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(contentsRect(), LibraryLook::hairline(palette().color(QPalette::WindowText)));
    }
};

} // namespace

LineSplitter::LineSplitter(QWidget *parent)
    : QSplitter(Qt::Horizontal, parent)
{
    setHandleWidth(1); // Qt makes a few points around it draggable
    setChildrenCollapsible(false);
}

QSplitterHandle *LineSplitter::createHandle()
{
    return new LineHandle(orientation(), this);
}

} // namespace qm
