#include "library/ShotRow.h"

#include "library/LibraryLook.h"
#include "library/ShotListModel.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"

#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>

#include <cmath>

namespace qm {

static constexpr int margin = 8;
static constexpr int gap = 12; // between the thumbnail and the texts
static constexpr int titleGap = 3;
static constexpr int captionGap = 1;
static constexpr int excerptLines = 2; // on screen; the text is a single line
static constexpr int placeholderSize = 28;

QSize ShotRow::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    return {thumbnail.width() + 2 * margin, height};
}

const QPixmap &ShotRow::placeholder(const QColor &ink, qreal devicePixelRatio) const
{
    if (m_placeholder.isNull() || m_placeholderInk != ink || m_placeholder.devicePixelRatio() != devicePixelRatio) {
        m_placeholder = Symbol::icon(QStringLiteral("photo"), ink)
                            .pixmap(QSize(placeholderSize, placeholderSize), devicePixelRatio);
        m_placeholderInk = ink;
    }
    return m_placeholder;
}

void ShotRow::paintThumbnail(QPainter *painter, const QRect &frame, const QImage &image, const QColor &ink) const
{
    const qreal ratio = painter->device()->devicePixelRatio();
    if (image.isNull()) {
        const QRect square(frame.center() - QPoint(placeholderSize, placeholderSize) / 2 + QPoint(1, 1),
                           QSize(placeholderSize, placeholderSize));
        painter->setOpacity(ink.alphaF());
        painter->drawPixmap(square, placeholder(ink, ratio));
        painter->setOpacity(1);
        return;
    }
    // Whole device pixels, so that a picture that needs no scaling isn't resampled.
    QSize pixels = image.size();
    const QSize room = frame.size() * ratio;
    if (pixels.width() > room.width() || pixels.height() > room.height())
        pixels.scale(room, Qt::KeepAspectRatio);
    const QSizeF size = QSizeF(pixels.expandedTo({1, 1})) / ratio;
    const QPointF corner(frame.x() + std::round((frame.width() - size.width()) / 2 * ratio) / ratio,
                         frame.y() + std::round((frame.height() - size.height()) / 2 * ratio) / ratio);
    const QRectF target(corner, size);
    painter->setRenderHint(QPainter::SmoothPixmapTransform, pixels != image.size());
    painter->drawImage(target, image);
    painter->setPen(QPen(LibraryLook::hairline(ink), 1 / ratio));
    painter->setBrush(Qt::NoBrush);
    const qreal half = 0.5 / ratio;
    painter->drawRect(target.adjusted(half, half, -half, -half));
}

// Paints a text on up to `lines` lines, the last one elided, and a ground behind a part of it. Lines have a fixed pitch:
// fallback fonts are often taller.
static void paintLines(QPainter *painter, const QString &text, const TextMatch::Range &marked, const QPalette &palette,
                       const QFont &font, const QRectF &area, double pitch, int lines)
{
    const QFontMetricsF metrics(font);
    QTextLayout layout(text, font, painter->device());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    painter->setFont(font);
    QPointF baseline(area.x(), area.y() + metrics.ascent());
    for (int i = 0; i < lines; ++i, baseline += QPointF(0, pitch)) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(area.width());
        const QString shown = i < lines - 1
                                  ? text.mid(line.textStart(), line.textLength())
                                  : metrics.elidedText(text.mid(line.textStart()), Qt::ElideRight, area.width());
        painter->drawText(baseline, shown);
        const qsizetype first = std::max<qsizetype>(0, marked.start - line.textStart());
        const qsizetype last = std::min<qsizetype>(shown.size(), marked.start + marked.length - line.textStart());
        if (first < last) {
            const double left = metrics.horizontalAdvance(shown.left(first));
            const double width = metrics.horizontalAdvance(shown.left(last)) - left;
            const QRectF mark(baseline.x() + left, baseline.y() - metrics.ascent(), width, pitch);
            painter->save();
            painter->setClipRect(mark, Qt::IntersectClip);
            painter->fillRect(mark, LibraryLook::marked(palette));
            painter->setPen(LibraryLook::markedText(palette));
            painter->drawText(baseline, shown);
            painter->restore();
        }
    }
    layout.endLayout();
}

static QString captionOf(const Shot &shot, bool gone)
{
    QStringList parts{ShotText::captureTime(shot)};
    if (gone)
        parts << AppLocale::text(u"the file is gone", u"ファイルがありません");
    parts.removeAll(QString());
    return parts.join(QStringLiteral("  ·  "));
}

void ShotRow::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const auto *model = qobject_cast<const ShotListModel *>(index.model());
    const Shot *shot = model ? model->shotAt(index.row()) : nullptr;
    if (!shot)
        return;
    painter->save();
    painter->setClipRect(option.rect);
    painter->setRenderHint(QPainter::Antialiasing);

    const bool selected = option.state & QStyle::State_Selected;
    const bool active = option.state & QStyle::State_HasFocus && option.state & QStyle::State_Active;
    const QPalette &palette = option.palette;
    using LibraryLook::RowState;
    const auto [ground, text, secondary] = LibraryLook::rowColors(palette, !selected ? RowState::plain
                                                                           : active  ? RowState::selectedWithFocus
                                                                                     : RowState::selected);
    if (selected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(ground);
        painter->drawRoundedRect(option.rect.adjusted(4, 2, -4, -2), 6, 6);
    }

    const QRect frame(QPoint(option.rect.x() + margin + 2, option.rect.y() + (height - thumbnail.height()) / 2),
                      thumbnail);
    painter->setRenderHint(QPainter::Antialiasing);
    paintThumbnail(painter, frame, model->thumbnail(index.row()), secondary);

    const QFont captionFont = LibraryLook::caption(option.font);
    const QFontMetricsF title(option.font), caption(captionFont);
    const double pitch = std::round(caption.height() + captionGap);
    const auto &[excerpt, match] = model->excerpt(index.row());
    const double textHeight = title.height() + titleGap + pitch * (excerpt.isEmpty() ? 1 : 1 + excerptLines);
    QRectF area(frame.right() + gap, 0, 0, 0);
    area.setRight(option.rect.right() - margin - 2);
    area.setTop(std::round(option.rect.y() + (height - textHeight) / 2));

    painter->setPen(text);
    painter->setFont(option.font);
    painter->drawText(QPointF(area.x(), area.y() + title.ascent()),
                      title.elidedText(shot->filename, Qt::ElideMiddle, area.width()));
    area.setTop(area.y() + title.height() + titleGap);
    painter->setPen(secondary);
    painter->setFont(captionFont);
    painter->drawText(QPointF(area.x(), area.y() + caption.ascent()),
                      caption.elidedText(captionOf(*shot, model->isGone(index.row())), Qt::ElideRight, area.width()));
    area.setTop(area.y() + pitch);
    if (!excerpt.isEmpty())
        paintLines(painter, excerpt, match, palette, captionFont, area, pitch, excerptLines);
    painter->restore();
}

} // namespace qm
