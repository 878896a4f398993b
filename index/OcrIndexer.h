#pragma once

#include "index/Database.h"
#include "platform/TaskQueue.h"

#include <functional>
#include <memory>
#include <optional>

class QFileSystemWatcher;

namespace qm {

enum class Scan { no, yes };

// Keeps the index current: scans and reads when it starts, a moment after the capture folder changed, every minute in case
// a change was missed, and in batches until no picture waits. Everything runs on its queue but start(), which belongs to
// the main thread. All failures are quiet; the next trigger does the work again.
class OcrIndexer : public std::enable_shared_from_this<OcrIndexer>
{
public:
    using FindHelper = std::function<std::optional<QString>()>;

    static OcrIndexer &shared();
    // Ends the shared one's queue at quit; a helper it waits for is ended too. False when it is not done within the limit.
    static bool stopShared(std::chrono::milliseconds limit);

    // queue must outlive the indexer; it must be held by a shared_ptr: late tasks hold it weakly.
    OcrIndexer(TaskQueue &queue, const QString &databasePath, FindHelper findHelper);
    ~OcrIndexer();

    void start();         // once
    void pump(Scan scan); // one step: a scan if wanted, then a batch where the settings allow it
    void scheduleDrain(); // another step without a scan in a moment, unless one is scheduled

private:
    void startWatching();
    void startSafetyTimer();
    void folderChanged();
    void post(void (OcrIndexer::*task)());
    Timer postAfter(std::chrono::milliseconds delay, void (OcrIndexer::*task)());

    void openAndStep();
    void step(Scan scan); // pump's work, on an open connection
    void scanAndPump();
    void drain();
    void safetyPass();

    TaskQueue &m_queue;
    FindHelper m_findHelper;
    std::unique_ptr<QFileSystemWatcher> m_watcher; // main thread

    // Of the queue.
    Database m_database;
    Timer m_changeTimer; // armed anew by every change: a burst ends in one pass
    Timer m_drainTimer;
    Timer m_safetyTimer;
};

} // namespace qm
