#pragma once

#include "index/Shot.h"
#include "library/ImageLoader.h"
#include "library/ShotActions.h"

#include <QWidget>

class QLabel;
class QStackedLayout;

namespace qm {

class ActionRow;
class PreviewPicture;
class RecognisedText;

// The right-hand side of the library: the selected shot at large size, its text, and actions on it. Main thread.
class PreviewPane : public QWidget
{
    Q_OBJECT

public:
    enum class Showing { placeholder, progress, picture, failure };

    explicit PreviewPane(ThumbnailCache &cache, QWidget *parent = nullptr);

    // Matches of the terms are marked in the shot's text.
    void setShot(const std::optional<Shot> &shot, const QStringList &terms);
    Showing showing() const;

    std::function<void(ShotAction action, const Shot &shot)> onAction;

    void confirmCopy(); // briefly, on the copy button, where the user is looking

private:
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
};

} // namespace qm
