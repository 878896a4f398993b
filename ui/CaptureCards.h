#pragma once

#include "platform/QtQueue.h"

#include <QImage>
#include <QRect>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace qm {

class CardWindow;

struct CaptureCard {
    QString file;
    QImage thumbnail; // from thumbnailOf()
    QRect area; // what was captured, in native pixels of the desktop; the card appears on the monitor with most of it
};

// The previews that follow captures: cards in the lower right corner of the monitor, at most three and no more than fit,
// the newest at the bottom. Each slides in, stays for 4 s, longer with the pointer on it, and takes neither keys nor the
// focus. Main thread. Without a card in sight nothing here ever runs, except to forget, once, what a capture took away.
// Where a desktop lets nobody put anything there (see FloatingPanel), it is asked to show a message with the same actions
// but copying, which has just been done.
class CaptureCards
{
public:
    struct Actions {
        std::function<void(const QString &file)> open, copy, reveal, trash;
    };

    explicit CaptureCards(Actions actions, TaskQueue &time = QtQueue::main());
    ~CaptureCards();
    Q_DISABLE_COPY_MOVE(CaptureCards)

    void show(const CaptureCard &card);
    void remove(const QString &file); // once it is in the trash, say

    // Takes all cards off the screen at once, before a capture. They come back with the next card, if that is shown within
    // half a minute. Returns the native pixels that they and their tool tip covered; null if none was in sight.
    QRect takeAway();

    // As large as a card shows it at scale 3, the beginning of what is much longer than wide. Any thread.
    static QImage thumbnailOf(const QImage &picture);

private:
    struct Entry {
        CaptureCard card;
        std::shared_ptr<CardWindow> window;
    };

    void offer(const QString &file);
    void open(const CaptureCard &card);
    void arrange();

    Actions m_actions;
    TaskQueue &m_time;
    std::vector<Entry> m_cards; // oldest first
    std::vector<CaptureCard> m_takenAway;
    Timer m_forget;
};

} // namespace qm
