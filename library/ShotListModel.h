#pragma once

#include "index/Shot.h"
#include "index/TextMatch.h"
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

    // Replaces the list; `terms` is what was searched. With the same terms, only the rows that differ come, go or change;
    // rows with another text or time get their thumbnails again. Returns true if there are others than before, or in
    // another order.
    bool setShots(const QList<Shot> &shots, const QStringList &terms);
    const QList<Shot> &shots() const { return m_shots; }
    const QStringList &terms() const { return m_terms; }
    const Shot *shotAt(int row) const;         // null if out of range
    int rowOf(std::optional<qint64> id) const; // -1 if there is none

    // The rows on screen, inclusive, and the longer edge of their thumbnails in pixels. Requests of other rows are
    // dropped; a row whose file could not be read is retried once it has been off screen.
    void setVisibleRows(int first, int last, double maxEdge);
    QImage thumbnail(int row) const; // null if missing or not loaded yet

    void dropThumbnails() { m_visible.clear(); } // until the visible rows are told again

    bool isGone(int row) const; // its file was looked for in vain

    struct Excerpt {
        QString line;
        TextMatch::Range match = {}; // in it
    };
    const Excerpt &excerpt(int row) const; // the row must exist

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;

private:
    struct Thumbnail {
        ThumbnailRequest request;
        QImage image;
        bool gone = false;
    };

    bool updateRows(const QList<Shot> &shots);
    void request(int row);
    void lookFor(qint64 id, const QString &path);
    void setThumbnail(qint64 id, const QImage &image, bool gone);

    ThumbnailCache &m_cache;
    QList<Shot> m_shots;
    QStringList m_terms;
    std::map<qint64, Thumbnail> m_visible;        // by id
    mutable std::map<qint64, Excerpt> m_excerpts; // by id, as far as asked for
    double m_maxEdge = 0;
    bool m_asking = false; // whoever reports the visible rows is about to paint them
};

// Texts of a row.
namespace ShotText {

QString captureTime(const Shot &shot); // at most 16 characters; empty if unknown
// At most 100 characters on one line; empty without a text. Cut around the first of the terms, if the text holds one.
ShotListModel::Excerpt excerpt(const Shot &shot, const QStringList &terms = {});

} // namespace ShotText
} // namespace qm
