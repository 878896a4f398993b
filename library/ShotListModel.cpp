#include "library/ShotListModel.h"

#include "index/TakenAt.h"
#include "library/ShotActions.h"
#include "platform/FolderListing.h"
#include "platform/QtQueue.h"

#include <QHash>
#include <QMimeData>
#include <QPointer>
#include <QTextBoundaryFinder>
#include <QThreadPool>

#include <algorithm>
#include <utility>

namespace qm {

ShotListModel::ShotListModel(ThumbnailCache &cache, QObject *parent)
    : QAbstractListModel(parent)
    , m_cache(cache)
{
}

bool ShotListModel::setShots(const QList<Shot> &shots, const QStringList &terms)
{
    if (m_shots == shots && m_terms == terms)
        return false;
    const bool sameTerms = std::exchange(m_terms, terms) == terms;
    m_excerpts.clear();
    for (const Shot &shot : std::as_const(m_shots)) {
        if (!shots.contains(shot))
            m_visible.erase(shot.id);
    }
    const auto sameRow = [](const Shot &one, const Shot &other) { return one.id == other.id; };
    const bool sameRows = std::equal(m_shots.cbegin(), m_shots.cend(), shots.cbegin(), shots.cend(), sameRow);
    if (!sameRows && !(sameTerms && updateRows(shots))) {
        beginResetModel();
        m_shots = shots;
        endResetModel();
        return true;
    }
    m_shots = shots;
    if (!shots.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(shots.size()) - 1));
    return !sameRows;
}

// False, with some rows removed, if the others have changed their order.
bool ShotListModel::updateRows(const QList<Shot> &shots)
{
    QHash<qint64, qsizetype> places;
    for (qsizetype row = 0; row < shots.size(); ++row)
        places.insert(shots[row].id, row);
    for (int row = int(m_shots.size()) - 1; row >= 0; --row) {
        if (places.contains(m_shots[row].id))
            continue;
        beginRemoveRows({}, row, row);
        m_shots.removeAt(row);
        endRemoveRows();
    }
    const auto before = [&](const Shot &one, const Shot &other) { return places[one.id] < places[other.id]; };
    if (!std::is_sorted(m_shots.cbegin(), m_shots.cend(), before))
        return false;
    for (int row = 0; row < shots.size(); ++row) {
        if (row < m_shots.size() && m_shots[row].id == shots[row].id)
            continue;
        beginInsertRows({}, row, row);
        m_shots.insert(row, shots[row]);
        endInsertRows();
    }
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
    std::erase_if(m_visible, [&](const auto &entry) {
        const int row = rowOf(entry.first);
        return row < first || row > last;
    });
    for (int row = std::max(first, 0); row <= last && row < m_shots.size(); ++row) {
        if (!m_visible.contains(m_shots[row].id))
            request(row);
    }
}

void ShotListModel::request(int row)
{
    const qint64 id = m_shots[row].id;
    m_visible[id] = {};
    auto completion = [self = QPointer(this), id, path = m_shots[row].path](const QImage &image) {
        // Null if unreadable, or if requested by a row that is gone; only what is known reaches the requesting row.
        if (!self || !self->m_visible.contains(id))
            return;
        if (image.isNull())
            self->lookFor(id, path);
        else
            self->setThumbnail(id, image, false);
    };
    m_asking = true;
    m_visible[id].request = m_cache.image(m_shots[row].path, m_maxEdge, std::move(completion));
    m_asking = false;
}

void ShotListModel::lookFor(qint64 id, const QString &path)
{
    QThreadPool::globalInstance()->start([self = QPointer(this), id, path] {
        if (FolderListing::existence(path.toUtf8()) != FolderListing::Existence::gone)
            return;
        QtQueue::main().post([self, id] {
            if (self)
                self->setThumbnail(id, {}, true);
        });
    });
}

void ShotListModel::setThumbnail(qint64 id, const QImage &image, bool gone)
{
    const auto found = m_visible.find(id);
    if (found == m_visible.end())
        return;
    found->second.image = image;
    found->second.gone = gone;
    const QModelIndex index = this->index(rowOf(id));
    if (!m_asking)
        Q_EMIT dataChanged(index, index, {Qt::DecorationRole});
}

bool ShotListModel::isGone(int row) const
{
    const Shot *shot = shotAt(row);
    const auto found = shot ? m_visible.find(shot->id) : m_visible.end();
    return found != m_visible.end() && found->second.gone;
}

QImage ShotListModel::thumbnail(int row) const
{
    const Shot *shot = shotAt(row);
    const auto found = shot ? m_visible.find(shot->id) : m_visible.end();
    return found == m_visible.end() ? QImage() : found->second.image;
}

const ShotListModel::Excerpt &ShotListModel::excerpt(int row) const
{
    const Shot &shot = m_shots[row];
    const auto [entry, isNew] = m_excerpts.try_emplace(shot.id);
    if (isNew)
        entry->second = ShotText::excerpt(shot, m_terms);
    return entry->second;
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
    case Qt::AccessibleDescriptionRole: return excerpt(index.row()).line;
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

static constexpr int characters = 100;
static constexpr int charactersBefore = 30; // a match
static constexpr int longestCharacter = 20; // units; no real one is longer

// With white space as single blanks, up to a number of units.
static QString onOneLine(QStringView text, qsizetype units)
{
    QString line;
    bool gap = false;
    for (const QChar c : text) {
        if (line.size() >= units)
            break;
        if (c.isSpace() && !gap)
            line += u' ';
        else if (!c.isSpace())
            line += c;
        gap = c.isSpace();
    }
    return line;
}

static qsizetype startOfLast(const QString &text, int count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.toEnd();
    for (int i = 0; i < count && finder.toPreviousBoundary() >= 0; ++i) {
    }
    return std::max<qsizetype>(0, finder.position());
}

static QString first(const QString &text, int count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (int i = 0; i < count && finder.toNextBoundary() >= 0; ++i) {
    }
    return finder.position() < 0 ? text : text.left(finder.position());
}

ShotListModel::Excerpt ShotText::excerpt(const Shot &shot, const QStringList &terms)
{
    const QString text = shot.ocrText.value_or(QString());
    const TextMatch::Range found = TextMatch::findAll(text, terms, 1).value(0);
    // What comes before the match in the text as it is shown, as far as it may be needed.
    const qsizetype window = std::max<qsizetype>(0, found.start - charactersBefore * longestCharacter);
    QString before = onOneLine(QStringView(text).sliced(window, found.start - window), text.size());
    if (window == 0 && before.startsWith(u' '))
        before.remove(0, 1);
    const qsizetype cut = startOfLast(before, charactersBefore);
    const bool isCut = cut > 0;
    before = isCut ? u'…' + before.sliced(cut + (before[cut] == u' ')) : before;
    const QStringView rest = QStringView(text).sliced(found.start).trimmed();
    const QString line = first(before + onOneLine(rest, characters * longestCharacter), characters);
    const qsizetype matched = onOneLine(QStringView(text).sliced(found.start, found.length), line.size()).size();
    return {line, {before.size(), std::clamp<qsizetype>(line.size() - before.size(), 0, matched)}};
}

} // namespace qm
