#include "ui/Symbol.h"

#include "platform/NativeLook.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QSvgRenderer>

// Outside any namespace, as the macro requires: a static library's resources are linked only on request.
static void initSymbols()
{
    Q_INIT_RESOURCE(symbols);
}

namespace qm {

namespace {

constexpr float disabledOpacity = 0.4F;

// Draws its layers on top of each other, each an SVG of the whole symbol.
class SymbolEngine : public QIconEngine
{
public:
    explicit SymbolEngine(QList<QByteArray> layers)
        : m_layers(std::move(layers))
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        painter->save();
        if (mode == QIcon::Disabled)
            painter->setOpacity(painter->opacity() * disabledOpacity);
        for (const QByteArray &layer : m_layers) {
            QSvgRenderer renderer(layer);
            renderer.setAspectRatioMode(Qt::KeepAspectRatio);
            renderer.render(painter, rect);
        }
        painter->restore();
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }

    // For callers that ask in advance, such as the tray protocol.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {44, 44}, {48, 48}, {64, 64}, {96, 96}};
    }

    QIconEngine *clone() const override { return new SymbolEngine(m_layers); }

private:
    QList<QByteArray> m_layers;
};

// The system's own drawing, in our colour.
class SystemSymbolEngine : public SymbolEngine
{
public:
    SystemSymbolEngine(QString name, const QColor &color)
        : SymbolEngine({})
        , m_name(std::move(name))
        , m_color(color)
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        QImage shape = NativeLook::symbol(m_name, rect.size() * painter->device()->devicePixelRatioF());
        if (shape.isNull())
            return;
        QColor color = m_color;
        if (mode == QIcon::Disabled)
            color.setAlphaF(color.alphaF() * disabledOpacity);
        QPainter tint(&shape);
        tint.setCompositionMode(QPainter::CompositionMode_SourceIn);
        tint.fillRect(shape.rect(), color);
        tint.end();
        painter->drawImage(rect, shape);
    }

    QIconEngine *clone() const override { return new SystemSymbolEngine(m_name, m_color); }

private:
    QString m_name;
    QColor m_color;
};

} // namespace

static QByteArray svgOf(const QString &name)
{
    initSymbols();
    QFile file(QStringLiteral(":/symbols/%1.svg").arg(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

static QByteArray tinted(QByteArray svg, const QColor &color)
{
    return svg.replace("currentColor", color.name().toLatin1());
}

QIcon Symbol::icon(const QString &name, const QColor &color)
{
    if (!NativeLook::symbol(name, {16, 16}).isNull())
        return QIcon(new SystemSymbolEngine(name, color));
    const QByteArray svg = svgOf(name);
    return svg.isEmpty() ? QIcon() : QIcon(new SymbolEngine({tinted(svg, color)}));
}

QIcon Symbol::outlinedIcon(const QString &name)
{
    const QByteArray svg = svgOf(name);
    if (svg.isEmpty())
        return {};
    QByteArray rim = tinted(svg, QColor(0x20, 0x20, 0x20));
    rim.replace("stroke-width=\"1.75\"", "stroke-width=\"4\"");
    return QIcon(new SymbolEngine({rim, tinted(svg, Qt::white)}));
}

QIcon Symbol::trayIcon(const QString &name)
{
    if (NativeLook::trayTintsIcons()) {
        QIcon mask = icon(name, Qt::black);
        mask.setIsMask(true);
        return mask;
    }
    QByteArray svg = svgOf(name);
    if (svg.isEmpty())
        return {};
    static const QByteArray badge = R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 24 24">
        <rect width="24" height="24" rx="5.5" fill="#1a7f9c"/></svg>)";
    svg.replace("<g ", "<g transform=\"translate(2.4 2.4) scale(.8)\" ");
    svg.replace("stroke-width=\"1.75\"", "stroke-width=\"2\"");
    return QIcon(new SymbolEngine({badge, tinted(svg, Qt::white)}));
}

QIcon Symbol::applicationIcon()
{
    initSymbols();
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256})
        icon.addFile(QStringLiteral(":/icon/%1.png").arg(size), {size, size});
    return icon;
}

} // namespace qm
