#pragma once

#include "index/Shot.h"
#include "library/ThumbnailCache.h"

#include <QAbstractListModel>

#include <map>
#include <optional>

namespace qm {

// The listed shots, and the thumbnails of those that are on screen. Main thread.
class ShotListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit ShotListModel(ThumbnailCache &cache, QObject *parent = nullptr);

    // The new list. Where its ids are the old ones in the old order nothing is reset, so scroll position and selection
    // stay; true when the list was reset.
    bool setShots(const QList<Shot> &shots);
    const QList<Shot> &shots() const { return m_shots; }
    const Shot *shotAt(int row) const;         // null when out of range
    int rowOf(std::optional<qint64> id) const; // -1: none

    // The rows that are on screen, both included, and their thumbnails' longer edge in pixels. The others' requests are
    // dropped; a row whose file could not be read is tried again once it has been away.
    void setVisibleRows(int first, int last, double maxEdge);
    QImage thumbnail(int row) const; // null: not there, or not yet

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;

private:
    struct Thumbnail {
        ThumbnailRequest request;
        QImage image;
    };

    void request(int row);

    ThumbnailCache &m_cache;
    QList<Shot> m_shots;
    std::map<int, Thumbnail> m_visible; // by row
    double m_maxEdge = 0;
    bool m_asking = false; // whoever tells which rows are visible is about to paint them
};

// What a row shows of a shot.
namespace ShotText {

QString captureTime(const Shot &shot); // at most 16 characters; empty when unknown
QString excerpt(const Shot &shot);     // at most 100 characters on one line; empty without a text

} // namespace ShotText
} // namespace qm
