#pragma once

#include "index/OcrIndexer.h"
#include "library/LiveSearch.h"
#include "library/PreviewPane.h"
#include "library/ShotActions.h"
#include "library/ThumbnailCache.h"
#include "platform/TaskQueue.h"
#include "platform/Workspace.h"

#include <QHash>
#include <QList>
#include <QWidget>

class QLineEdit;
class QStackedLayout;

namespace qm {

class SecondaryLabel;
class ShotListView;
class LibraryStatus;

// The library's content: search field and list on the left, preview on the right. Main thread; the index is only read,
// on a thread of the view's own, and its changes are followed while the view is shown.
class LibraryView : public QWidget
{
    Q_OBJECT

public:
    static constexpr int resultLimit = 200;
    static constexpr std::chrono::milliseconds debounce{200};

    struct Environment {
        TaskQueue &main; // runs the timers
        LiveSearch::Source index;
        std::function<void(const QString &path)> annotate;
        ThumbnailCache &thumbnails;
        std::function<void(const QString &path, std::function<void(const Outcome &)> done)> trash = Workspace::trash;
        PreviewPane::Places places = {};
    };
    // The application's index: newest first, all for an empty text.
    static SearchResult findInIndex(const QString &text);

    explicit LibraryView(Environment environment, QWidget *parent = nullptr);
    ~LibraryView() override;

    void reload(); // queries the shots for the search text, at once

    // After this long out of sight, what was decoded is given back.
    static constexpr std::chrono::milliseconds keptWhileHidden{2000};

    void setReading(const ReadingProgress &reading); // what the indexer is about

    bool isLoading() const { return m_search.isUnderWay(); }
    const QList<Shot> &shots() const { return m_shots; }
    std::optional<qint64> selection() const { return m_selection; }

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makeListPane();
    QWidget *makeEmptyState();
    void tintSearch();
    void scheduleReload();
    void setResult(const SearchResult &result, const QString &text);
    void showReadFailures();
    void dropPictures();
    void setSelection(std::optional<qint64> id);
    void refresh();

    const Shot *selected() const;
    void perform(ShotAction action, const Shot &shot);
    void moveToTrash(const Shot &shot);
    void hideTrashed();
    void lookForRestored();
    void showMenu(const Shot &shot, const QPoint &globalPosition);
    bool fieldKey(const QKeyEvent &event);
    void escape();

    struct Trashed {
        QString path;
        bool isMoved = false; // false: it is about to be
    };

    Environment m_environment;
    QList<Shot> m_shots;
    QHash<qint64, Trashed> m_trashed; // hidden rows, which the next scan removes unless the file is put back before
    QString m_foundText;              // the search text of m_shots, trimmed
    SearchResult::Match m_match = SearchResult::Match::typed;
    bool m_indexFailed = false;
    std::optional<qint64> m_selection;
    bool m_didLoad = false;
    bool m_hasResult = false;
    Timer m_debounceTask;
    Timer m_dropping;

    QLineEdit *m_field = nullptr;
    SecondaryLabel *m_matchNote = nullptr;
    ShotListView *m_list = nullptr;
    QStackedLayout *m_listArea = nullptr; // indexed by Area
    enum Area { listArea, emptyArea, noMatchesArea, blankArea };
    LibraryStatus *m_status = nullptr;
    PreviewPane *m_preview = nullptr;
    LatestJob m_failures;
    LatestJob m_restoring;
    LiveSearch m_search; // last, so that it ends first
};

} // namespace qm
