#pragma once

#include <QPixmap>
#include <QStyledItemDelegate>

namespace qm {

// Paints a row of the list: the thumbnail, and up to three texts beside it. For rows of a ShotListModel.
class ShotRow : public QStyledItemDelegate
{
    Q_OBJECT

public:
    static constexpr int height = 88; // points, like the next
    static constexpr QSize thumbnail = {96, 72};

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    void paintThumbnail(QPainter *painter, const QRect &frame, const QImage &image, const QColor &ink) const;
    const QPixmap &placeholder(const QColor &ink, qreal devicePixelRatio) const;

    mutable QPixmap m_placeholder; // the symbol as last drawn
    mutable QColor m_placeholderInk;
};

} // namespace qm
