#pragma once

#include "index/Shot.h"
#include "library/ImageLoader.h"
#include "library/PictureZoom.h"
#include "library/ShotActions.h"
#include "ui/LatestJob.h"

#include <QSet>
#include <QWidget>

class QLabel;
class QStackedLayout;

namespace qm {

class ActionRow;
class HitBar;
class PreviewPicture;
class RecognisedText;
class ZoomBar;

// The right-hand side of the library: the selected shot at large size, its text, and actions on it. Main thread.
class PreviewPane : public QWidget
{
    Q_OBJECT

public:
    enum class Showing { placeholder, progress, picture, failure };

    // Where the text of a shot stands.
    struct Places {
        std::function<ShotPlaces(qint64 id)> find = nullptr; // any thread, may block; unset: nobody knows
        std::function<void(qint64 id)> readAgain =
            nullptr; // asks for what is not known; the next setShot() may find it
    };

    PreviewPane(ThumbnailCache &cache, Places places, QWidget *parent = nullptr);

    // Matches of the terms are marked on the shot and in its text.
    void setShot(const std::optional<Shot> &shot, const QStringList &terms);
    Showing showing() const;
    void dropPicture(); // until the next setShot()

    void goToHit(int step); // 1 is the next, -1 the one before
    void zoomBy(int steps); // up or down
    void setZoom(const PictureZoom &zoom);
    void resetZoom(); // as the picture opens

    std::function<void(ShotAction action, const Shot &shot)> onAction;

    void confirmCopy(); // briefly, on the copy button, where the user is looking

private:
    void findPlaces();
    void showHits();

    QWidget *makePlaceholder();
    QWidget *makeContent();
    QWidget *makeFailure();
    QString failureText() const;
    void refresh();

    std::optional<Shot> m_shot;
    ImageLoader m_loader;
    QStackedLayout *m_pages = nullptr; // placeholder or content
    QStackedLayout *m_area = nullptr;  // progress, picture or failure
    QWidget *m_progress = nullptr;
    QWidget *m_failure = nullptr;
    QLabel *m_failureText = nullptr;
    PreviewPicture *m_picture = nullptr;
    RecognisedText *m_text = nullptr;
    ActionRow *m_actions = nullptr;
    HitBar *m_hits = nullptr;
    ZoomBar *m_zoom = nullptr;
    qsizetype m_currentHit = 0;
    const Places m_places;
    bool m_hasPlaces = false;   // of the current shot
    QSet<qint64> m_toReadAgain; // shots that were asked for
    LatestJob m_finding{2};     // one may wait for a network folder
};

} // namespace qm
