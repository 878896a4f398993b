#include "annotate/editor/SwatchPanel.h"

#include "annotate/document/Annotation.h"
#include "ui/AppLocale.h"

#include <QGridLayout>
#include <QIcon>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>

namespace qm {

static QList<QRgb> &swatches()
{
    static QList<QRgb> colors{annotationRed, 0xffff9500, 0xffffcc00, 0xff34c759,
                              0xff007aff,    0xffaf52de, 0xff000000, 0xffffffff};
    return colors;
}

static QIcon chip(const QColor &color, const QColor &rim, double ratio)
{
    constexpr int side = 22;
    QPixmap pixmap(QSize(side, side) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(rim);
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(0.5, 0.5, side - 1, side - 1), 3, 3);
    return pixmap;
}

SwatchPanel::SwatchPanel(const QColor &current, const std::function<void(const QColor &)> &chosen,
                         std::function<void()> more, QWidget *parent)
    : QWidget(parent, Qt::Popup)
{
    setAttribute(Qt::WA_DeleteOnClose);
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(8, 8, 8, 8);
    grid->setSpacing(3);
    QColor rim = palette().color(QPalette::WindowText);
    rim.setAlphaF(0.35F);
    for (int i = 0; i < count; ++i) {
        const QColor color = QColor::fromRgb(swatches()[i]);
        auto *swatch = new QToolButton(this);
        swatch->setIcon(chip(color, rim, devicePixelRatioF()));
        swatch->setIconSize({22, 22});
        swatch->setAutoRaise(color != current);
        swatch->setToolTip(color.name());
        swatch->setAccessibleName(color.name());
        QObject::connect(swatch, &QToolButton::clicked, this, [this, color, chosen] {
            close();
            chosen(color);
        });
        grid->addWidget(swatch, i / 4, i % 4); // NOLINT(bugprone-integer-division): two rows
    }
    auto *other = new QPushButton(AppLocale::text(u"More…", u"その他…"), this);
    QObject::connect(other, &QPushButton::clicked, this, [this, more = std::move(more)] {
        close();
        more();
    });
    grid->addWidget(other, 2, 0, 1, 4);
}

void SwatchPanel::openBelow(const QWidget &button)
{
    adjustSize();
    const QRect room = button.screen()->availableGeometry();
    const QPoint below = button.mapToGlobal(QPoint(0, button.height() + 2));
    move(qMax(room.left(), qMin(below.x(), room.right() - width())),
         qMax(room.top(), qMin(below.y(), room.bottom() - height())));
    show();
}

void SwatchPanel::markUsed(const QColor &color)
{
    QList<QRgb> &colors = swatches();
    colors.removeAll(color.rgb());
    colors.prepend(color.rgb());
    colors.resize(qMin(colors.size(), qsizetype(count)));
}

} // namespace qm
