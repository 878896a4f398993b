#pragma once

#include "index/Shot.h"

#include <QListView>

#include <functional>
#include <optional>

namespace qm {

class ShotListModel;
class ThumbnailCache;

// The list of shots, with at most one selected. Main thread.
class ShotListView : public QListView
{
    Q_OBJECT

public:
    explicit ShotListView(ThumbnailCache &cache, QWidget *parent = nullptr);

    // Sets the content; `terms` is what was searched. With the same terms the rows on screen stay where they are; a list
    // of others begins at its top. Calls no callbacks.
    void setContent(const QList<Shot> &shots, const QStringList &terms, std::optional<qint64> selection);

    void dropThumbnails(); // until it is painted again

    // Moves the focus here by arrow key, which selects the first shot if none is selected, as Tab does.
    void enter();

    // User actions. Unset ones are not called.
    std::function<void(std::optional<qint64> id)> onSelect; // another shot, or std::nullopt
    std::function<void(const Shot &shot)> onActivate;       // double click
    std::function<void(const Shot &shot, const QPoint &globalPosition)> onContextMenu;
    std::function<void()> onLeaveUpwards; // up arrow on the first row

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void startDrag(Qt::DropActions actions) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    void selectSome();
    void setShots(const QList<Shot> &shots, const QStringList &terms);

    ShotListModel *m_model;
    std::optional<qint64> m_selection; // as last reported by either side
    bool m_suppressSelectionCallback = false;
};

} // namespace qm
