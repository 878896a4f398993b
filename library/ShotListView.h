#pragma once

#include "index/Shot.h"

#include <QListView>

#include <functional>
#include <optional>

namespace qm {

class ShotListModel;
class ThumbnailCache;

// The list of shots, one selected at most. Main thread.
class ShotListView : public QListView
{
    Q_OBJECT

public:
    explicit ShotListView(ThumbnailCache &cache, QWidget *parent = nullptr);

    // What to show. An unchanged list (the same ids in the same order) keeps its scroll position. Calls nobody back.
    void setContent(const QList<Shot> &shots, std::optional<qint64> selection);

    // Arrow keys into the list from outside: selects the first shot when none is.
    void enter();

    // What the user did. Unset ones are not called.
    std::function<void(std::optional<qint64> id)> onSelect; // another shot, or none
    std::function<void(const Shot &shot)> onActivate;       // double click
    std::function<void(const Shot &shot, const QPoint &globalPosition)> onContextMenu;
    std::function<void()> onLeaveUpwards; // arrow up on the first row

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void startDrag(Qt::DropActions actions) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index, const QEvent *event) const override;

private:
    ShotListModel *m_model;
    std::optional<qint64> m_selection; // as it was told last, by either side
    bool m_suppressSelectionCallback = false;
};

} // namespace qm
