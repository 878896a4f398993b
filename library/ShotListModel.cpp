#include "library/ShotListModel.h"

#include "index/TakenAt.h"
#include "library/ShotActions.h"

#include <QMimeData>
#include <QPointer>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace qm {

ShotListModel::ShotListModel(ThumbnailCache &cache, QObject *parent)
    : QAbstractListModel(parent)
    , m_cache(cache)
{
}

bool ShotListModel::setShots(const QList<Shot> &shots)
{
    const auto sameRow = [](const Shot &one, const Shot &other) { return one.id == other.id; };
    if (std::equal(m_shots.cbegin(), m_shots.cend(), shots.cbegin(), shots.cend(), sameRow)) {
        if (m_shots != shots) {
            std::erase_if(m_visible, [&](const auto &entry) { return m_shots[entry.first] != shots[entry.first]; });
            m_shots = shots;
            Q_EMIT dataChanged(index(0), index(int(shots.size()) - 1));
        }
        return false;
    }
    beginResetModel();
    m_shots = shots;
    m_visible.clear();
    endResetModel();
    return true;
}

const Shot *ShotListModel::shotAt(int row) const
{
    return row >= 0 && row < m_shots.size() ? &m_shots[row] : nullptr;
}

int ShotListModel::rowOf(std::optional<qint64> id) const
{
    const auto found = std::find_if(m_shots.cbegin(), m_shots.cend(), [&](const Shot &shot) { return shot.id == id; });
    return found == m_shots.cend() ? -1 : int(found - m_shots.cbegin());
}

void ShotListModel::setVisibleRows(int first, int last, double maxEdge)
{
    if (maxEdge != m_maxEdge)
        m_visible.clear();
    m_maxEdge = maxEdge;
    std::erase_if(m_visible, [&](const auto &entry) { return entry.first < first || entry.first > last; });
    for (int row = std::max(first, 0); row <= last && row < m_shots.size(); ++row) {
        if (!m_visible.contains(row))
            request(row);
    }
}

void ShotListModel::request(int row)
{
    m_visible[row] = {};
    auto completion = [self = QPointer(this), row](const QImage &image) {
        // Null if unreadable, or if requested by a row that is gone; only pictures reach the requesting row.
        if (image.isNull() || !self)
            return;
        self->m_visible[row].image = image;
        if (!self->m_asking)
            Q_EMIT self->dataChanged(self->index(row), self->index(row), {Qt::DecorationRole});
    };
    m_asking = true;
    m_visible[row].request = m_cache.image(m_shots[row].path, m_maxEdge, std::move(completion));
    m_asking = false;
}

QImage ShotListModel::thumbnail(int row) const
{
    const auto found = m_visible.find(row);
    return found == m_visible.end() ? QImage() : found->second.image;
}

int ShotListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_shots.size());
}

QVariant ShotListModel::data(const QModelIndex &index, int role) const
{
    const Shot *shot = shotAt(index.row());
    if (!shot)
        return {};
    switch (role) {
    case Qt::DisplayRole: return shot->filename;
    case Qt::AccessibleTextRole: return QString(shot->filename + u' ' + ShotText::captureTime(*shot)).trimmed();
    case Qt::AccessibleDescriptionRole: return ShotText::excerpt(*shot);
    default: return {};
    }
}

Qt::ItemFlags ShotListModel::flags(const QModelIndex &index) const
{
    return QAbstractListModel::flags(index) | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

QMimeData *ShotListModel::mimeData(const QModelIndexList &indexes) const
{
    const Shot *shot = indexes.isEmpty() ? nullptr : shotAt(indexes.first().row());
    return shot ? ShotActions::mimeData(*shot) : nullptr;
}

QString ShotText::captureTime(const Shot &shot)
{
    return localTime(shot.takenAt.value_or(QString())).left(16).replace(u'T', u' ');
}

QString ShotText::excerpt(const Shot &shot)
{
    constexpr int characters = 100;
    constexpr int units = 20 * characters; // no real character is longer
    QString line;
    bool gap = false;
    const QString text = shot.ocrText.value_or(QString());
    for (const QChar c : text) {
        if (c.isSpace()) {
            gap = !line.isEmpty();
        } else {
            if (gap)
                line += u' ';
            gap = false;
            line += c;
        }
        if (line.size() >= units)
            break;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, line);
    for (int i = 0; i < characters && finder.toNextBoundary() >= 0; ++i) {
    }
    return finder.position() < 0 ? line : line.left(finder.position());
}

} // namespace qm
