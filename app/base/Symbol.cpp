#include "app/base/Symbol.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QSvgRenderer>

namespace qm {

namespace {

class SymbolEngine : public QIconEngine
{
public:
    explicit SymbolEngine(const QByteArray &svg) : m_svg(svg) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        QSvgRenderer renderer(m_svg);
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        renderer.render(painter, rect);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }

    QIconEngine *clone() const override { return new SymbolEngine(m_svg); }

private:
    QByteArray m_svg;
};

} // namespace

QIcon Symbol::icon(const QString &name, const QColor &color)
{
    QFile file(QStringLiteral(":/symbols/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QIcon(new SymbolEngine(file.readAll().replace("currentColor", color.name().toLatin1())));
}

} // namespace qm
