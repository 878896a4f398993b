#include "library/ShotListView.h"

#include "library/ShotListModel.h"
#include "library/ShotRow.h"
#include "ui/AppLocale.h"

#include <QContextMenuEvent>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QScopedValueRollback>
#include <QScrollBar>

namespace qm {

ShotListView::ShotListView(ThumbnailCache &cache, QWidget *parent)
    : QListView(parent)
    , m_model(new ShotListModel(cache, this))
{
    setModel(m_model);
    setItemDelegate(new ShotRow(this));
    setUniformItemSizes(true);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setDragDropMode(DragOnly);
    setVerticalScrollMode(ScrollPerPixel);
    verticalScrollBar()->setSingleStep(ShotRow::height / 4);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(NoFrame);
    viewport()->setAutoFillBackground(false);
    setAccessibleName(AppLocale::text(u"Screenshots", u"スクリーンショット"));
    connect(this, &QListView::doubleClicked, this, [this](const QModelIndex &index) {
        const Shot *shot = m_model->shotAt(index.row());
        if (shot && onActivate)
            onActivate(Shot(*shot));
    });
}

// At the top, what is new is to be seen; further down, what is read is not to move.
void ShotListView::setShots(const QList<Shot> &shots, const QStringList &terms)
{
    const bool sameTerms = terms == m_model->terms();
    const int value = verticalScrollBar()->value(), top = value / ShotRow::height;
    const QList<Shot> before = m_model->shots();
    if (!m_model->setShots(shots, terms))
        return;
    executeDelayedItemsLayout();
    if (!sameTerms)
        return scrollToTop();
    for (int row = top; value > 0 && row < before.size(); ++row) {
        if (const int now = m_model->rowOf(before[row].id); now >= 0)
            return verticalScrollBar()->setValue(value + (now - row) * ShotRow::height);
    }
}

void ShotListView::setContent(const QList<Shot> &shots, const QStringList &terms, std::optional<qint64> selection)
{
    const QScopedValueRollback suppressed(m_suppressSelectionCallback, true);
    setAutoScroll(false); // the current row may be elsewhere
    setShots(shots, terms);
    m_selection = selection;
    const int row = m_model->rowOf(selection);
    if (row < 0) {
        selectionModel()->clear();
    } else if (!selectionModel()->isSelected(m_model->index(row))) {
        setCurrentIndex(m_model->index(row));
    }
    setAutoScroll(true);
}

void ShotListView::dropThumbnails()
{
    m_model->dropThumbnails();
}

void ShotListView::enter()
{
    setFocus();
    selectSome();
}

void ShotListView::selectSome()
{
    if (!selectionModel()->hasSelection() && m_model->rowCount() > 0)
        setCurrentIndex(m_model->index(0));
}

void ShotListView::focusInEvent(QFocusEvent *event)
{
    QListView::focusInEvent(event);
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
        selectSome();
}

void ShotListView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QListView::selectionChanged(selected, deselected);
    if (m_suppressSelectionCallback)
        return;
    const QModelIndexList rows = selectionModel()->selectedIndexes();
    const Shot *shot = rows.isEmpty() ? nullptr : m_model->shotAt(rows.first().row());
    const std::optional<qint64> id = shot ? std::optional(shot->id) : std::nullopt;
    if (id == m_selection)
        return;
    m_selection = id;
    if (onSelect)
        onSelect(id);
}

// A click below the last row clears the selection, as usual in lists that allow an empty one.
void ShotListView::mousePressEvent(QMouseEvent *event)
{
    QListView::mousePressEvent(event);
    if (!indexAt(event->position().toPoint()).isValid())
        clearSelection();
}

void ShotListView::paintEvent(QPaintEvent *event)
{
    const int top = verticalOffset();
    m_model->setVisibleRows(top / ShotRow::height, (top + viewport()->height() - 1) / ShotRow::height,
                            ShotRow::thumbnail.width() * devicePixelRatioF());
    QListView::paintEvent(event);
}

void ShotListView::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Up:
        if (onLeaveUpwards && currentIndex().row() <= 0)
            return onLeaveUpwards();
        [[fallthrough]];
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End: return QListView::keyPressEvent(event);
    default: event->ignore(); // leave it to the window
    }
}

void ShotListView::contextMenuEvent(QContextMenuEvent *event)
{
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = byKey ? currentIndex() : indexAt(event->pos());
    const Shot *shot = m_model->shotAt(index.row());
    if (!shot || !onContextMenu)
        return;
    onContextMenu(Shot(*shot), byKey ? viewport()->mapToGlobal(visualRect(index).center()) : event->globalPos());
}

void ShotListView::startDrag(Qt::DropActions actions)
{
    const QModelIndexList rows = selectionModel()->selectedIndexes();
    QMimeData *mimeData = m_model->mimeData(rows);
    if (!mimeData)
        return;
    auto *drag = new QDrag(this);
    drag->setMimeData(mimeData);
    QPixmap thumbnail = QPixmap::fromImage(m_model->thumbnail(rows.first().row()));
    thumbnail.setDevicePixelRatio(devicePixelRatioF());
    if (!thumbnail.isNull())
        drag->setPixmap(thumbnail);
    drag->exec(actions, Qt::CopyAction);
}

} // namespace qm
