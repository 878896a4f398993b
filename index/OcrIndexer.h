#pragma once

#include "index/Database.h"
#include "platform/TaskQueue.h"

#include <functional>
#include <memory>
#include <optional>

class QFileSystemWatcher;

namespace qm {

enum class Scan { no, yes };

// Keeps the index current: scans and reads at start, shortly after the capture folder has changed, and every minute in
// case a change was missed, in batches until no picture is waiting. Everything runs on its queue except start(), which
// belongs to the main thread. All failures are quiet; the next trigger retries.
class OcrIndexer : public std::enable_shared_from_this<OcrIndexer>
{
public:
    using FindHelper = std::function<std::optional<QString>()>;

    static OcrIndexer &shared();
    // At quit: ends the shared indexer's queue, and a helper it is waiting for. False if it has not finished within the
    // limit.
    static bool stopShared(std::chrono::milliseconds limit);

    // queue must outlive the indexer, which must be held by a shared_ptr: late tasks hold it weakly.
    OcrIndexer(TaskQueue &queue, const QString &databasePath, FindHelper findHelper);
    ~OcrIndexer();

    void start();         // call once
    void pump(Scan scan); // one step: a scan if requested, then a batch if the settings allow it
    void scheduleDrain(); // soon another step without a scan, unless one is already scheduled

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

    // Used on the queue only.
    Database m_database;
    Timer m_changeTimer; // restarted by every change: a burst ends in one pass
    Timer m_drainTimer;
    Timer m_safetyTimer;
};

} // namespace qm
