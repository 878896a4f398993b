#pragma once

#include "index/Shot.h"
#include "library/ThumbnailCache.h"

#include <QAbstractListModel>

#include <map>
#include <optional>

namespace qm {

// The listed shots and the thumbnails of those on screen. Main thread.
class ShotListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit ShotListModel(ThumbnailCache &cache, QObject *parent = nullptr);

    // Replaces the list. If it has the same ids in the same order, the model is not reset, so scroll position and
    // selection stay; rows with another text or time get their thumbnails again. Returns true if it was reset.
    bool setShots(const QList<Shot> &shots);
    const QList<Shot> &shots() const { return m_shots; }
    const Shot *shotAt(int row) const;         // null if out of range
    int rowOf(std::optional<qint64> id) const; // -1 if there is none

    // The rows on screen, inclusive, and the longer edge of their thumbnails in pixels. Requests of other rows are
    // dropped; a row whose file could not be read is retried once it has been off screen.
    void setVisibleRows(int first, int last, double maxEdge);
    QImage thumbnail(int row) const; // null if missing or not loaded yet

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
    bool m_asking = false; // whoever reports the visible rows is about to paint them
};

// Texts of a row.
namespace ShotText {

QString captureTime(const Shot &shot); // at most 16 characters; empty if unknown
QString excerpt(const Shot &shot);     // at most 100 characters on one line; empty without a text

} // namespace ShotText
} // namespace qm
